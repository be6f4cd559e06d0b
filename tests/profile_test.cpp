// Tests of the profile subsystem.
