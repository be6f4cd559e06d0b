// Benchmarks of the design-drawing analysis.
