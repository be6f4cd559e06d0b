// Tests of the readers: json_reader_test.
