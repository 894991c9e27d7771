// One target for each parser of bytes that come from outside. Each takes any bytes and ends the process when
// a promise is broken: what was accepted must be usable, what was refused must leave nothing behind.
//
// The fuzzer runs them without end, the unit tests over the inputs kept in the corpus.
#ifndef TESTS_FUZZ_TARGETS_H
#define TESTS_FUZZ_TARGETS_H

#include <cstddef>
#include <cstdint>

namespace vlox_fuzz {

using Target = void (*)(const std::uint8_t* data, std::size_t size);

void promise(bool kept, const char* what);

// Of keys, cipher texts and encodings.
void sm2PublicKey(const std::uint8_t* data, std::size_t size);   // a raw point
void sm2Cipher(const std::uint8_t* data, std::size_t size);      // DER SM2Cipher, at the server
void sm9Parameters(const std::uint8_t* data, std::size_t size);  // DER system parameters
void sm9Cipher(const std::uint8_t* data, std::size_t size);      // DER SM9Cipher, at the server
void parameterText(const std::uint8_t* data, std::size_t size);  // what a file or a reply holds as parameters
void contentCipher(const std::uint8_t* data, std::size_t size);  // encrypted content of a reply
void base64(const std::uint8_t* data, std::size_t size);

// Of texts. Where a first byte chooses something, it is told what.
void serviceReply(const std::uint8_t* data, std::size_t size);  // kind of input, then a body or what is in it
void resultText(const std::uint8_t* data, std::size_t size);    // what a request gives its caller
void addressReply(const std::uint8_t* data, std::size_t size);  // settings, then the reply's JSON
void networkJson(const std::uint8_t* data, std::size_t size);   // what the application tells of the network
void migrationPayload(const std::uint8_t* data,
                      std::size_t size);  // task or result, then an old file's payload
void urlPlaceholders(const std::uint8_t* data, std::size_t size);  // a URL, and lines of name=value
void headerLine(const std::uint8_t* data, std::size_t size);       // of a reply's head
void configNumber(const std::uint8_t* data, std::size_t size);

}  // namespace vlox_fuzz

#endif
