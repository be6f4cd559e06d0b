// Tests of the drawing subsystem.
