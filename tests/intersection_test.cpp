// Tests of the intersection subsystem.
