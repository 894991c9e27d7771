#ifndef TESTS_LIFE_LIFERUN_H
#define TESTS_LIFE_LIFERUN_H

#include <chrono>
#include <string>

namespace vlox_test {

/// Lets a program live once with the library, which has to end by itself, and well.
/// @param directory empty, for its files
/// @return what went wrong, with the seed; empty when nothing did
std::string liveOnce(const std::string& directory, unsigned seed, std::chrono::seconds limit);

}  // namespace vlox_test

#endif
