// Times of single operations over the benchmark's positions (Google Benchmark).
#pragma once

// Takes the library's flags behind argv[0]; the exit status.
int RunMicroBenchmarks(int argc, char** argv);
