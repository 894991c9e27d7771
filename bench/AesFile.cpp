// Encrypts one file as a process of its own: aes_file <key of 16 characters> <source> <destination>
#include <vlox_common.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    if (argc != 4 || std::string(argv[1]).size() != 16) {
        std::fputs("usage: aes_file <key of 16 characters> <source> <destination>\n", stderr);
        return 2;
    }
    vloxlib::Aes128CBCStrategy strategy;
    return strategy.encryptFile(reinterpret_cast<const unsigned char*>(argv[1]), 16, argv[2], argv[3]) ? 0
                                                                                                       : 1;
}
