// Tests of the readers: point_file_test.
