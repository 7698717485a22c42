// The rows `basic/…` of the benchmark: the basic types beside what a program would use without them.
#pragma once

// Registers them with Google Benchmark. Every row comes as a pair, ours and the plain one.
void registerBasicRows();
