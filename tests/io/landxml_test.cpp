// Tests of the readers: landxml_test.
