// Works until it is killed: crash_worker store|log|cache|transfer <directory> <generation>
#include "crash/Work.h"

int main(int argc, char** argv) {
    const std::string work = argc == 4 ? argv[1] : "";
    vlox_test::tell("ready");
    if (work == "store") {
        vlox_test::workStore(argv[2], argv[3]);
    } else if (work == "log") {
        vlox_test::workLog(argv[2], argv[3]);
    } else if (work == "cache") {
        vlox_test::workCache(argv[2]);
    } else if (work == "transfer") {
        vlox_test::workTransfer(argv[2]);
    } else {
        std::fputs("usage: crash_worker store|log|cache|transfer <directory> <generation>\n", stderr);
        return 2;
    }
}
