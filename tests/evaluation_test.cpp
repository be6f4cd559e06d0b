// Tests of the evaluation subsystem.
