// Times of single operations over the benchmark's positions (Google Benchmark).
#pragma once

// Takes the library's flags behind argv[0], such as --benchmark_filter. The exit status:
// failure for a flag that the library does not know. PrepareEngine must have run;
// afterwards the state of board, search and standard input is arbitrary.
int RunMicroBenchmarks(int argc, char** argv);
