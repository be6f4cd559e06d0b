// Tests of the horizontal subsystem.
