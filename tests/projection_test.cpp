// Tests of the route layer: projection_test.
