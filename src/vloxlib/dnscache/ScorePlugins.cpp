#include "vloxlib/dnscache/ScorePlugins.h"

#include <Poco/Timestamp.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace vloxlib {

namespace {

constexpr float kLongestAge = 1440.0F;

// What doesn't fit an integer becomes the smallest one, as the processor's own conversion has it.
int truncated(float value) {
    constexpr float kLimit = 2147483648.0F;
    return value >= -kLimit && value < kLimit ? static_cast<int>(value) : std::numeric_limits<int>::min();
}

// Unsigned in between: a time of nonsense from the cache file must not overflow.
float ageOf(int64 time) {
    const Poco::Timestamp now;
    const auto elapsed = static_cast<int64>(static_cast<std::uint64_t>(now.epochMicroseconds()) -
                                            static_cast<std::uint64_t>(time));
    const int64 age = elapsed / 1000 / 60;
    return static_cast<float>(age);
}

}  // namespace

void SuccessNumPlugin::run(std::list<std::shared_ptr<IpModel>> models) {
    int64 maximum = 0;
    for (const auto& model : models) {
        maximum = std::max(maximum, model->successNum);
    }
    if (maximum == 0) {
        return;
    }
    const float step = getWeight() / static_cast<float>(maximum);
    for (const auto& model : models) {
        const float gain = static_cast<float>(model->successNum) * step;
        model->grade = truncated(static_cast<float>(model->grade) + gain);
    }
}

void SuccessTimePlugin::run(std::list<std::shared_ptr<IpModel>> models) {
    const float step = getWeight() / kLongestAge;
    for (const auto& model : models) {
        const float age = ageOf(model->finallySuccessTime);
        if (age <= kLongestAge) {
            const float gain = getWeight() - age * step;
            model->grade = truncated(static_cast<float>(model->grade) + gain);
        }
    }
}

}  // namespace vloxlib
