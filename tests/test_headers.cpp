// Stands for all tests when their common headers are compiled.
