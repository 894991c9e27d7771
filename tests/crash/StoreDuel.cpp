#include "crash/StoreDuel.h"

#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>

namespace vlox_test {

namespace {

class Rival {
public:
    Rival(const std::string& directory, const std::string& generation)
        : m_process(Poco::Process::launch(VLOX_CRASH_WORKER_PATH, {"store", directory, "duel-" + generation},
                                          &m_input, &m_output, nullptr)),
          m_orders(m_input),
          m_answers(m_output) {
        m_answers >> m_word;  // "ready"
    }

    void open() { m_orders << "open" << std::endl; }
    bool hasWritten() {
        for (std::string line; std::getline(m_answers, line);) {
            if (line.rfind("ok add", 0) == 0) {
                return true;
            }
        }
        return false;
    }
    int wait() { return m_process.wait(); }
    void kill() {
        Poco::Process::kill(m_process.id());
        wait();
    }

private:
    Poco::Pipe m_input;
    Poco::Pipe m_output;
    Poco::ProcessHandle m_process;
    Poco::PipeOutputStream m_orders;
    Poco::PipeInputStream m_answers;
    std::string m_word;
};

}  // namespace

void StoreDuel::killOnce() {
    Rival first(directory(), generation() + "-first");
    Rival second(directory(), generation() + "-second");
    first.open();
    second.open();
    const bool firstHasIt = first.hasWritten();
    const bool secondHasIt = second.hasWritten();
    if (firstHasIt == secondHasIt) {
        lose(firstHasIt ? "both have the store" : "nobody has the store");
    }
    for (Rival* const rival : {&first, &second}) {
        if (rival == &first ? firstHasIt : secondHasIt) {
            countOperation();
            countKill();
            rival->kill();
        } else if (const int code = rival->wait(); code != 1) {
            lose("the other one ends with " + std::to_string(code));
        }
    }
    Rival next(directory(), generation() + "-next");
    next.open();
    if (!next.hasWritten()) {
        lose("the next one doesn't get the store");
        next.wait();
    } else {
        countKill();
        next.kill();
    }
}

}  // namespace vlox_test
