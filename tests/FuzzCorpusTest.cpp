// What the fuzzers start from, and what they once found, as plain tests.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "fuzz/Targets.h"

namespace {

struct Named {
    const char* name;
    vlox_fuzz::Target target;
};

void PrintTo(const Named& named, std::ostream* out) { *out << named.name; }

std::string contentOf(const std::filesystem::path& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

void feed(vlox_fuzz::Target target, const std::string& input) {
    target(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

class FuzzCorpus : public testing::TestWithParam<Named> {};

}  // namespace

// A target ends the process when a promise is broken.
TEST_P(FuzzCorpus, KeepsItsPromises) {
    int inputs = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(VLOX_FUZZ_CORPUS) + "/" + GetParam().name)) {
        SCOPED_TRACE(entry.path().filename().string());
        const std::string input = contentOf(entry.path());
        feed(GetParam().target, input);
        for (std::size_t cut = 0; cut < input.size(); cut += 1 + input.size() / 16) {
            feed(GetParam().target, input.substr(0, cut));
            std::string altered = input;
            altered[cut] = static_cast<char>(altered[cut] ^ 0x81);
            feed(GetParam().target, altered);
        }
        ++inputs;
    }
    EXPECT_GE(inputs, 2) << "an empty folder would test nothing";
}

INSTANTIATE_TEST_SUITE_P(
    Crypto, FuzzCorpus,
    testing::Values(Named{"sm2PublicKey", vlox_fuzz::sm2PublicKey}, Named{"sm2Cipher", vlox_fuzz::sm2Cipher},
                    Named{"sm9Parameters", vlox_fuzz::sm9Parameters},
                    Named{"sm9Cipher", vlox_fuzz::sm9Cipher},
                    Named{"parameterText", vlox_fuzz::parameterText},
                    Named{"contentCipher", vlox_fuzz::contentCipher}, Named{"base64", vlox_fuzz::base64}),
    [](const testing::TestParamInfo<Named>& named) { return std::string(named.param.name); });

INSTANTIATE_TEST_SUITE_P(Text, FuzzCorpus,
                         testing::Values(Named{"serviceReply", vlox_fuzz::serviceReply},
                                         Named{"resultText", vlox_fuzz::resultText},
                                         Named{"addressReply", vlox_fuzz::addressReply},
                                         Named{"networkJson", vlox_fuzz::networkJson},
                                         Named{"migrationPayload", vlox_fuzz::migrationPayload},
                                         Named{"urlPlaceholders", vlox_fuzz::urlPlaceholders},
                                         Named{"headerLine", vlox_fuzz::headerLine},
                                         Named{"configNumber", vlox_fuzz::configNumber}),
                         [](const testing::TestParamInfo<Named>& named) {
                             return std::string(named.param.name);
                         });
