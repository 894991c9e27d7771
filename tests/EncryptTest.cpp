#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "quilcrypto/QuilCryptoLib.h"
#include "quilcrypto/Sm2.h"
#include "quilcrypto/sm9/Sm9.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "support/Vectors.h"
#include "vloxlib/encrypt/ASymNoEncryptStrategy.h"
#include "vloxlib/encrypt/Aes128CBCStrategy.h"
#include "vloxlib/encrypt/AesBlockCipher.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/DeploymentSecrets.h"
#include "vloxlib/encrypt/QCLSm2Strategy.h"
#include "vloxlib/encrypt/QCLSm9Strategy.h"
#include "vloxlib/encrypt/Sm4Strategy.h"
#include "vloxlib/encrypt/SymNoEncryptStrategy.h"
#include "vloxlib/utility/StringUtils.h"

using namespace vloxlib;
using namespace vlox_test;

namespace {

const std::string kKey = "0123456789abcdef";

std::string encrypt(SymEncryptStrategy& strategy, const std::string& key, const std::string& plain) {
    return strategy.encryptData(asBytes(key), static_cast<unsigned int>(key.size()), plain);
}
std::string decrypt(SymEncryptStrategy& strategy, const std::string& key, const std::string& cipher) {
    return strategy.decryptData(asBytes(key), static_cast<unsigned int>(key.size()), cipher);
}

std::string patterned(std::size_t length) {
    std::mt19937 random(static_cast<unsigned int>(length));
    std::string bytes(length, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

// The last two symbols are what tells the alphabets apart.
bool hasBothLastSymbols(const std::string& text) {
    return text.find('-') != std::string::npos && text.find('_') != std::string::npos;
}
std::string standardForm(std::string text) {
    std::replace(text.begin(), text.end(), '-', '+');
    std::replace(text.begin(), text.end(), '_', '/');
    return text + std::string((4 - text.size() % 4) % 4, '=') + "\n";
}

// Files in a directory of the test's own, by their names.
class FileCase {
public:
    explicit FileCase(SymEncryptStrategy& strategy, std::string key = kKey)
        : m_strategy(strategy), m_key(std::move(key)) {}

    bool encrypt(const std::string& source, const std::string& destination) {
        return m_strategy.encryptFile(asBytes(m_key), 16, m_dir.path(source), m_dir.path(destination));
    }
    bool decrypt(const std::string& source, const std::string& destination) {
        return m_strategy.decryptFile(asBytes(m_key), 16, m_dir.path(source), m_dir.path(destination));
    }
    void write(const std::string& name, const std::string& content) { m_dir.write(name, content); }
    std::string read(const std::string& name) { return m_dir.read(name); }

private:
    const TempDir m_dir;
    SymEncryptStrategy& m_strategy;
    const std::string m_key;
};

// Turns each bit of a block over, until it is told to fail after so many blocks.
class InvertingStrategy : public SymNoEncryptStrategy {
public:
    bool encryptFile(const unsigned char* key, unsigned int keyLength, const std::string& source,
                     const std::string& destination) override {
        return SymEncryptStrategy::encryptFile(key, keyLength, source, destination);
    }
    bool decryptFile(const unsigned char* key, unsigned int keyLength, const std::string& source,
                     const std::string& destination) override {
        return SymEncryptStrategy::decryptFile(key, keyLength, source, destination);
    }
    bool blockEncrypt(const unsigned char* /*key*/, unsigned int /*keyLength*/, const unsigned char* input,
                      unsigned int inputLength, unsigned char* output, unsigned int& outputLength) override {
        if (blocksLeft-- == 0) {
            return false;
        }
        for (unsigned int at = 0; at < inputLength; ++at) {
            output[at] = static_cast<unsigned char>(~input[at]);
        }
        outputLength = inputLength;
        return true;
    }
    bool blockDecrypt(const unsigned char* key, unsigned int keyLength, const unsigned char* input,
                      unsigned int inputLength, unsigned char* output, unsigned int& outputLength) override {
        return blockEncrypt(key, keyLength, input, inputLength, output, outputLength);
    }
    int blocksLeft = -1;
};

}  // namespace

TEST(SymStrategies, ContentUnderTheDeploymentsVector) {
    const rapidjson::Document all = vectors("sm2-sm4-vectors.json");
    Aes128CBCStrategy aes;
    Sm4Strategy sm4;
    int checked = 0;
    const std::pair<const char*, SymEncryptStrategy*> families[] = {{"aes128_cbc_pkcs7", &aes},
                                                                    {"sm4_cbc_pkcs7", &sm4}};
    for (const auto& [family, strategy] : families) {
        for (const auto& vector : all[family].GetArray()) {
            if (bytesOf(vector, "iv") == kSymIv) {
                SCOPED_TRACE(vector["name"].GetString());
                EXPECT_EQ(bytesOf(vector, "cipher"),
                          encrypt(*strategy, bytesOf(vector, "key"), bytesOf(vector, "plain")));
                EXPECT_EQ(bytesOf(vector, "plain"),
                          decrypt(*strategy, bytesOf(vector, "key"), bytesOf(vector, "cipher")));
                ++checked;
            }
        }
    }
    EXPECT_GT(checked, 4);
}

TEST(SymStrategies, FailuresGiveNothingAndALine) {
    const LogCapture log;
    Aes128CBCStrategy aes;
    EXPECT_EQ(16u, encrypt(aes, kKey, "").size()) << "the empty text is padded like any other";
    EXPECT_EQ(32u, aes.getEncryptBufferSize(0));
    EXPECT_EQ(0, log.count("doEncryptData error"));
    EXPECT_EQ("", encrypt(aes, "short key", "text"));
    EXPECT_EQ(1, log.count("E", "doEncryptData error"));
    EXPECT_EQ("", decrypt(aes, kKey, "no whole block"));
    EXPECT_EQ("", decrypt(aes, kKey, ""));
    EXPECT_EQ("", decrypt(aes, "fedcba9876543210", encrypt(aes, kKey, "0123456789abcde")))
        << "the pad comes out wrong";
    EXPECT_EQ(3, log.count("E", "doDecryptData error"));
}

TEST(SymStrategies, NoEncryptionLeavesContentAndFilesAsTheyAre) {
    SymNoEncryptStrategy none;
    const std::string bytes("a\0b", 3);
    EXPECT_EQ(bytes, encrypt(none, "", bytes));
    EXPECT_EQ(bytes, decrypt(none, "any", bytes));
    EXPECT_EQ("", encrypt(none, kKey, ""));
    unsigned char output[2] = {};
    unsigned int length = 2;
    EXPECT_FALSE(none.cipherEncrypt(nullptr, 0, asBytes(bytes), 3, output, length)) << "beyond the capacity";
    FileCase files(none);
    files.write("plain", bytes);
    EXPECT_TRUE(files.encrypt("plain", "copy"));
    EXPECT_TRUE(files.decrypt("copy", "back"));
    EXPECT_EQ(bytes, files.read("back"));
    EXPECT_FALSE(files.encrypt("missing", "copy"));
}

TEST(SymStrategies, MayBeSharedByThreads) {
    Aes128CBCStrategy aes;
    Sm4Strategy sm4;
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            FileCase files(aes);
            for (std::size_t round = 0; round < 50; ++round) {
                const std::string plain = patterned(thread * 100 + round);
                EXPECT_EQ(plain, decrypt(aes, kKey, encrypt(aes, kKey, plain)));
                EXPECT_EQ(plain, decrypt(sm4, kKey, encrypt(sm4, kKey, plain)));
            }
            files.write("plain", "text");
            EXPECT_TRUE(files.encrypt("plain", "sealed") && files.decrypt("sealed", "back"));
            EXPECT_EQ("text", files.read("back"));
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(AesFiles, KnownAnswers) {
    const rapidjson::Document all = vectors("sm2-sm4-vectors.json");
    Aes128CBCStrategy aes;
    for (const auto& vector : all["aes128_ecb_pkcs7_file"].GetArray()) {
        SCOPED_TRACE(vector["name"].GetString());
        FileCase files(aes, bytesOf(vector, "key"));
        files.write("plain", bytesOf(vector, "plain"));
        files.write("sealed", "what stood here before is replaced, however long it was");
        ASSERT_TRUE(files.encrypt("plain", "sealed"));
        EXPECT_EQ(toHex(bytesOf(vector, "cipher")), toHex(files.read("sealed")));
        ASSERT_TRUE(files.decrypt("sealed", "back"));
        EXPECT_EQ(bytesOf(vector, "plain"), files.read("back"));
        ASSERT_TRUE(files.decrypt("sealed", "back"));
        EXPECT_EQ(bytesOf(vector, "plain") + bytesOf(vector, "plain"), files.read("back")) << "appended";
    }
}

TEST(AesFiles, DamagedSources) {
    const rapidjson::Document all = vectors("sm2-sm4-vectors.json");
    Aes128CBCStrategy aes;
    for (const auto& vector : all["aes128_ecb_file_decrypt_edges"]["cases"].GetArray()) {
        SCOPED_TRACE(vector["name"].GetString());
        FileCase files(aes, bytesOf(vector, "key"));
        files.write("sealed", bytesOf(vector, "cipher"));
        EXPECT_EQ(vector["result"].GetInt() == 0, files.decrypt("sealed", "back"));
        EXPECT_EQ(toHex(bytesOf(vector, "output")), toHex(files.read("back")));
    }
}

TEST(AesFiles, APadCountAboveSixteenWrapsRound) {
    Aes128CBCStrategy aes;
    for (unsigned int count : {17u, 32u, 239u, 255u}) {
        SCOPED_TRACE(count);
        std::string last = patterned(15) + static_cast<char>(count);
        std::string sealed(16, '\0');
        unsigned int length = 16;
        ASSERT_TRUE(aes.blockEncrypt(asBytes(kKey), 16, asBytes(last), 16,
                                     reinterpret_cast<unsigned char*>(&sealed[0]), length));
        FileCase files(aes);
        files.write("sealed", sealed);
        EXPECT_TRUE(files.decrypt("sealed", "back"));
        const std::string back = files.read("back");
        EXPECT_EQ((256 + 16 - count) % 256, back.size());
        last.resize(back.size(), '\0');
        EXPECT_EQ(last, back) << "nothing but the block and zeros, whatever stood in memory";
    }
}

TEST(AesFiles, LengthsAroundTheBuffersBorders) {
    Aes128CBCStrategy aes;
    FileCase files(aes);
    const std::size_t run = 256 * 1024;
    for (std::size_t length :
         {run - 17, run - 16, run - 1, run, run + 1, run + 15, run + 16, 2 * run, 3 * run - 16}) {
        SCOPED_TRACE(length);
        const std::string plain = patterned(length);
        files.write("plain", plain);
        files.write("back", "");
        ASSERT_TRUE(files.encrypt("plain", "sealed"));
        const std::string sealed = files.read("sealed");
        ASSERT_EQ((length / 16 + 1) * 16, sealed.size());
        ASSERT_TRUE(files.decrypt("sealed", "back"));
        EXPECT_TRUE(plain == files.read("back"));
        files.write("cut", sealed.substr(0, sealed.size() - 16 + 5));
        files.write("back", "");
        ASSERT_FALSE(files.decrypt("cut", "back"));
        EXPECT_TRUE(plain.substr(0, length / 16 * 16) == files.read("back"))
            << "all whole blocks before the cut";
    }
}

TEST(AesFiles, WhatCannotBeOpenedReadOrWrittenIsFalse) {
    Aes128CBCStrategy aes;
    FileCase files(aes);
    files.write("plain", std::string(100000, 'p'));
    EXPECT_FALSE(files.encrypt("missing", "sealed"));
    EXPECT_EQ("", files.read("sealed"));
    EXPECT_FALSE(files.encrypt("plain", "no/such/directory"));
    EXPECT_FALSE(files.decrypt("missing", "back"));
    EXPECT_FALSE(files.decrypt("plain", "no/such/directory"));
    EXPECT_FALSE(files.encrypt(".", "sealed")) << "a directory";
    const TempDir dir;
    dir.write("plain", "text");
    EXPECT_FALSE(aes.encryptFile(nullptr, 16, dir.path("plain"), dir.path("sealed")));
    EXPECT_TRUE(aes.encryptFile(asBytes(kKey), 0, dir.path("plain"), dir.path("sealed")))
        << "the key's length is not looked at";
    if (std::filesystem::is_character_file("/dev/full")) {
        EXPECT_FALSE(aes.encryptFile(asBytes(kKey), 16, dir.path("plain"), "/dev/full"));
    }
}

TEST(AesBlockCipher, KnowsThreeKeySizes) {
    AesBlockCipher cipher;
    unsigned char block[16] = {};
    EXPECT_FALSE(cipher.transform(block, sizeof(block))) << "no key yet";
    const std::string key = patterned(32);
    for (int bits : {128, 192, 256}) {
        const std::string plain = patterned(48);
        std::string blocks = plain;
        ASSERT_EQ(0, cipher.setEncryptKey(asBytes(key), bits));
        ASSERT_TRUE(cipher.transform(reinterpret_cast<unsigned char*>(&blocks[0]), blocks.size()));
        EXPECT_NE(plain, blocks);
        ASSERT_EQ(0, cipher.setDecryptKey(asBytes(key), bits));
        ASSERT_TRUE(cipher.transform(reinterpret_cast<unsigned char*>(&blocks[0]), blocks.size()));
        EXPECT_EQ(plain, blocks);
    }
    for (int bits : {0, 64, 129, 512}) {
        EXPECT_EQ(-32, cipher.setEncryptKey(asBytes(key), bits));
    }
}

TEST(GenericFiles, Sm4IsNoFileCipher) {
    Sm4Strategy sm4;
    FileCase files(sm4);
    files.write("plain", std::string(40, 'p'));
    files.write("sealed", "what stood here");
    EXPECT_FALSE(files.encrypt("plain", "sealed"));
    EXPECT_EQ("", files.read("sealed"));
    EXPECT_TRUE(files.encrypt("missing", "sealed")) << "a file that doesn't open passes for success";
    EXPECT_TRUE(files.encrypt("plain", "no/such/directory"));

    files.write("cipher", std::string(48, 'c'));
    EXPECT_FALSE(files.decrypt("cipher", "back")) << "success is false";
    EXPECT_EQ(std::string(48, '\0'), files.read("back"));
    EXPECT_TRUE(files.decrypt("missing", "back"));
    EXPECT_TRUE(files.decrypt("cipher", "no/such/directory"));
    EXPECT_TRUE(files.decrypt("plain", "back")) << "cut off";
    EXPECT_EQ(std::string(80, '\0'), files.read("back")) << "appended, up to the cut";
}

TEST(GenericFiles, GoBlockByBlockThroughTheStrategy) {
    InvertingStrategy inverting;
    FileCase files(inverting);
    files.write("plain", std::string(20, '\0'));
    EXPECT_TRUE(files.encrypt("plain", "sealed"));
    EXPECT_EQ(std::string(20, '\xff') + std::string(12, static_cast<char>(~12)), files.read("sealed"));
    EXPECT_FALSE(files.decrypt("sealed", "back"));
    EXPECT_EQ(std::string(20, '\0'), files.read("back"));
    inverting.blocksLeft = 1;
    EXPECT_FALSE(files.encrypt("plain", "sealed"));
    EXPECT_EQ(std::string(16, '\xff'), files.read("sealed")) << "what went before the failing block stays";
}

TEST(AsymStrategies, Sm2WrapsItsKeyForTheServer) {
    const LogCapture log;
    std::optional<sm2::PrivateKey> server;
    std::string octets;
    while (!hasBothLastSymbols(Base64::encode(octets))) {
        server = sm2::PrivateKey::generate();
        ASSERT_TRUE(server);
        const sm2::Bytes point = server->toPoint();
        octets.assign(point.begin(), point.end());
    }
    const std::string text = Base64::encode(octets);
    std::vector<std::string> keys;
    for (const std::string& key : {text, Base64::encode(octets.substr(1)), standardForm(text)}) {
        QCLSm2Strategy strategy;
        ASSERT_EQ(1, strategy.initialWithKey(key, "", ""));
        const std::string wrapped = Base64::decode(strategy.getSecretKeyBase64());
        const auto unwrapped = server->decrypt(wrapped);
        ASSERT_TRUE(unwrapped);
        keys.emplace_back(unwrapped->begin(), unwrapped->end());
        EXPECT_EQ(keys.back(), strategy.getSecretKey());
        EXPECT_EQ(1, log.count("D", "getSecretKeyBase64=" + strategy.getSecretKeyBase64()));
    }
    EXPECT_NE(keys[0], keys[1]);
    EXPECT_EQ(3, log.count("I", "called")) << "one line per strategy that goes";
}

TEST(AsymStrategies, AnSm2KeyThatIsNoPointMakesNothing) {
    const LogCapture log;
    const rapidjson::Document all = vectors("sm2-sm4-vectors.json");
    for (const auto& vector : all["sm2"]["public_key_reject"].GetArray()) {
        SCOPED_TRACE(vector["name"].GetString());
        QCLSm2Strategy strategy;
        EXPECT_NE(1, strategy.initialWithKey(vector["base64url"].GetString(), "", ""));
        EXPECT_EQ("", strategy.getSecretKeyBase64());
        EXPECT_EQ(std::string(16, '\0'), strategy.getSecretKey());
    }
    EXPECT_EQ(all["sm2"]["public_key_reject"].Size(), log.count("E", "initPubKeyContext failed. ret=-30"));
}

TEST(AsymStrategies, Sm9WrapsItsKeyForTheIdentity) {
    const LogCapture log;
    const TempDir dir;
    std::optional<sm9::MasterKey> centre;
    std::string text;
    while (!hasBothLastSymbols(text)) {
        centre = sm9::MasterKey::generate();
        ASSERT_TRUE(centre);
        const sm9::Bytes der = centre->parameters().toDer();
        text = Base64::encode(std::string(der.begin(), der.end()));
    }
    dir.write("standard", standardForm(text));
    const std::string broken = text.substr(0, 20) + "\r\n" + text.substr(20) + "\n";
    const std::string marked = "-----BEGIN IBC PARAMETERS-----\n" + broken + "-----END IBC PARAMETERS-----\n";
    dir.write("parameters", marked);
    struct Row {
        const char* why;
        std::string path;
        std::string content;
        long warnings;
    };
    const Row rows[] = {
        {"text without markers", "", broken, 1},
        {"text with markers", "", marked, 2},
        {"a file, which goes before the text", dir.path("parameters"), "no parameters", 2},
        {"a file as other programs write it", dir.path("standard"), "", 2},
        {"the text of such a file", "", standardForm(text), 3},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        QCLSm9Strategy strategy;
        ASSERT_EQ(1, strategy.initialWithKey("server", row.path, row.content));
        const auto key =
            centre->extract(std::string("server"))->decrypt(Base64::decode(strategy.getSecretKeyBase64()));
        ASSERT_TRUE(key);
        EXPECT_EQ(std::string(key->begin(), key->end()), strategy.getSecretKey());
        EXPECT_EQ(row.warnings, log.count("W", "m_ibcParmFilePath is empty"));
    }
    EXPECT_EQ(10, log.count("I", "called")) << "both destructors of each strategy";
}

TEST(AsymStrategies, Sm9WithoutParametersOrIdentityMakesNothing) {
    const LogCapture log;
    const TempDir dir;
    const sm9::Bytes der = sm9::MasterKey::generate()->parameters().toDer();
    const std::string text = Base64::encode(std::string(der.begin(), der.end()));
    struct Row {
        const char* why;
        std::string identity;
        std::string path;
        std::string content;
        int code;
        const char* line;
    };
    const Row rows[] = {
        {"neither path nor text", "server", "", "", -1, "CreateIBCParamObjectFromFile failed. ret=-1"},
        {"a text of nothing but markers", "server", "",
         "-----BEGIN IBC PARAMETERS----------END IBC PARAMETERS-----", QCL_ERROR_LENGTH,
         "CreateIBCParamObjectFromFile failed. ret=-3002"},
        {"no parameters in the text", "server", "", "AAAA", QCL_ERROR_PARAMETERS,
         "CreateIBCParamObjectFromFile failed. ret=-3007"},
        {"a missing file", "server", dir.path("missing"), text, QCL_ERROR_FILE,
         "CreateIBCParamObjectFromFile failed. ret=-3008"},
        {"no identity", "", "", text, QCL_ERROR_LENGTH, "initPubKeyContext failed. ret=-3002"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        QCLSm9Strategy strategy;
        EXPECT_EQ(row.code, strategy.initialWithKey(row.identity, row.path, row.content));
        EXPECT_EQ(1, log.count("E", row.line));
        EXPECT_EQ("", strategy.getSecretKeyBase64());
    }
}

TEST(AsymStrategies, WithoutEncryptionTheTextIsAFillerOfTheProcess) {
    ASymNoEncryptStrategy first;
    ASymNoEncryptStrategy second;
    EXPECT_EQ(1, first.initialWithKey("any", "", ""));
    EXPECT_EQ(std::string(16, '\0'), first.getSecretKey());
    const std::string filler = first.getSecretKeyBase64();
    EXPECT_EQ(filler, second.getSecretKeyBase64());
    const std::string letters = Base64::decode(filler);
    EXPECT_EQ(16u, letters.size());
    EXPECT_EQ(std::string::npos, letters.find_first_not_of("abcdefghijklmnopqrstuvwxyz"));
    std::srand(1);  // where every process begins that doesn't seed
    EXPECT_NE(StringUtils::randomStr(16), letters) << "every process would give the same text";
}
