// Tests of the route layer: station_test.
