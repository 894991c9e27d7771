#ifndef BENCH_ALLOCATIONCOUNT_H
#define BENCH_ALLOCATIONCOUNT_H

/// How often the calling thread has allocated so far, in this program and in the library.
long long allocationCount();

#endif
