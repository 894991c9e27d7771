// The other end of the wire as somebody else's program: the openssl command opens what is sealed here, and
// the other way round.
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>

#include "quilcrypto/Sm2.h"
#include "support/TempDir.h"
#include "support/Vectors.h"
#include "vloxlib/encrypt/Aes128CBCStrategy.h"
#include "vloxlib/encrypt/Base64.h"
#include "vloxlib/encrypt/DeploymentSecrets.h"
#include "vloxlib/encrypt/QCLSm2Strategy.h"
#include "vloxlib/encrypt/Sm4Strategy.h"

using namespace vloxlib;
using namespace vlox_test;

namespace {

const std::string kKey = "0123456789abcdef";

class OpensslInterchange : public testing::Test {
protected:
    void SetUp() override {
        if (std::string(VLOX_OPENSSL).find("NOTFOUND") != std::string::npos) {
            GTEST_SKIP() << "there is no openssl command";
        }
    }
    // Runs the command in the test's directory; the content of the file "out".
    std::string openssl(const std::string& arguments) {
        std::istringstream words(arguments);
        Poco::Pipe pipe;
        const Poco::ProcessHandle process = Poco::Process::launch(
            VLOX_OPENSSL, {std::istream_iterator<std::string>(words), {}}, dir.path(), nullptr, &pipe, &pipe);
        Poco::PipeInputStream stream(pipe);
        const std::string messages{std::istreambuf_iterator<char>(stream), {}};
        EXPECT_EQ(0, process.wait()) << arguments << "\n" << messages;
        return dir.read("out");
    }

    const TempDir dir;
};

}  // namespace

TEST_F(OpensslInterchange, ContentCiphersBothWays) {
    Aes128CBCStrategy aes;
    Sm4Strategy sm4;
    const std::pair<const char*, SymEncryptStrategy*> ciphers[] = {{"-aes-128-cbc", &aes},
                                                                   {"-sm4-cbc", &sm4}};
    for (const auto& [name, strategy] : ciphers) {
        for (const std::string& plain : {std::string("{\"code\":0}"), std::string(4096, '\0')}) {
            SCOPED_TRACE(name);
            const std::string arguments = std::string("enc ") + name + " -K " + toHex(kKey) + " -iv " +
                                          toHex(kSymIv) + " -in in -out out ";
            dir.write("in", plain);
            const std::string cipher = openssl(arguments);
            EXPECT_EQ(toHex(cipher), toHex(strategy->encryptData(asBytes(kKey), 16, plain)));
            EXPECT_EQ(plain, strategy->decryptData(asBytes(kKey), 16, cipher));
            dir.write("in", cipher);
            EXPECT_EQ(plain, openssl(arguments + "-d"));
        }
    }
}

TEST_F(OpensslInterchange, AesFilesBothWays) {
    Aes128CBCStrategy aes;
    const std::string arguments = "enc -aes-128-ecb -K " + toHex(kKey);
    const std::string plain(300001, 'p');
    dir.write("plain", plain);
    ASSERT_TRUE(aes.encryptFile(asBytes(kKey), 16, dir.path("plain"), dir.path("sealed")));
    EXPECT_TRUE(plain == openssl(arguments + " -d -in sealed -out out"));
    openssl(arguments + " -in plain -out out");
    ASSERT_TRUE(aes.decryptFile(asBytes(kKey), 16, dir.path("out"), dir.path("back")));
    EXPECT_TRUE(plain == dir.read("back"));
}

TEST_F(OpensslInterchange, Sm2KeysAndCipherTextsBothWays) {
    openssl("genpkey -algorithm SM2 -out key.pem");
    openssl("pkey -in key.pem -outform DER -out out -pubout");
    const std::string publicKey = dir.read("out");  // ends with the point
    ASSERT_GT(publicKey.size(), 65u);
    QCLSm2Strategy strategy;
    ASSERT_EQ(1, strategy.initialWithKey(Base64::encode(publicKey.substr(publicKey.size() - 65)), "", ""));
    dir.write("in", Base64::decode(strategy.getSecretKeyBase64()));
    EXPECT_EQ(strategy.getSecretKey(), openssl("pkeyutl -decrypt -inkey key.pem -in in -out out"));

    // The private scalar follows its header in the structure of the key: OCTET STRING of 32 bytes.
    openssl("ec -in key.pem -outform DER -out out");
    const std::string privateKey = dir.read("out");
    const auto place = privateKey.find("\x04\x20");
    ASSERT_NE(std::string::npos, place);
    const auto server = sm2::PrivateKey::fromScalar(privateKey.substr(place + 2, 32));
    ASSERT_TRUE(server);
    dir.write("in", "sixteen bytes ..");
    const auto plain = server->decrypt(openssl("pkeyutl -encrypt -inkey key.pem -in in -out out"));
    ASSERT_TRUE(plain);
    EXPECT_EQ("sixteen bytes ..", std::string(plain->begin(), plain->end()));
}
