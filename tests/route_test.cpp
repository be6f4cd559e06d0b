// Tests of the route layer: route_test.
