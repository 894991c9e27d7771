#include "crash/CacheCrash.h"

#include <set>
#include <sstream>
#include <vector>

#include "support/StoreFixture.h"

namespace vlox_test {

namespace {

bool isKnown(const std::string& line) { return line.compare(0, 8, "ok know ") == 0; }

}  // namespace

CacheCrash::CacheCrash(const std::string& directory, unsigned seed) : CrashRun("cache", directory, seed) {}

void CacheCrash::killOnce() {
    // The first life gets as far as making the tables.
    const std::size_t atLeast = kills() == 0 ? 1 : 0;
    Cache cutOff = m_acknowledged;
    for (const std::string& line : liveAndDie(directory(), generation(), atLeast + random() % 80)) {
        countOperation();
        if (isKnown(line)) {
            checkKnown(line);
            continue;
        }
        cutOff = m_acknowledged;
        apply(line, cutOff);
        if (line.compare(0, 3, "ok ") == 0) {
            m_acknowledged = cutOff;
        }
    }
    const Cache found = look();
    if (!(found == m_acknowledged) && !(found == cutOff)) {
        lose("the file holds neither what was acknowledged nor that and the last operation");
    }
    m_acknowledged = found;
}

void CacheCrash::checkKnown(const std::string& line) {
    std::istringstream words(line);
    std::string word;
    std::string domain;
    words >> word >> word >> domain;
    std::set<std::string> known;
    while (words >> word) {
        known.insert(word);
    }
    std::set<std::string> expected;
    for (const auto& [address, successes] : m_acknowledged[domain].successes) {
        expected.insert(address);
    }
    if (known != expected) {
        lose(domain + ": the next life knows other addresses");
    }
    if (expected.empty()) {
        m_acknowledged.erase(domain);
    }
}

void CacheCrash::apply(const std::string& line, Cache& cache) {
    std::istringstream words(line);
    std::string operation;
    std::string domain;
    std::string word;
    words >> word >> operation >> domain >> word;
    if (operation == "clear") {
        cache.clear();
    } else if (operation == "forget") {
        cache.erase(domain);
    } else if (operation == "succeed") {
        const auto known = cache.find(domain);
        if (known != cache.end() && known->second.successes.count(word) == 1) {
            ++known->second.successes[word];
        }
    } else if (operation == "learn") {
        Domain& known = cache.try_emplace(domain, Domain{word, {}}).first->second;
        while (words >> word) {
            known.successes.try_emplace(word, 0);
        }
    }
}

CacheCrash::Cache CacheCrash::look() {
    const RawDatabase file(directory() + "/vloxDomain.db");
    if (file.values("PRAGMA integrity_check") != std::vector<std::string>{"ok"}) {
        lose("integrity_check finds faults");
    }
    Cache found;
    const std::vector<std::string> domains = file.values("SELECT domain,finallyTime FROM domain_t");
    for (std::size_t i = 0; i < domains.size(); i += 2) {
        found[domains[i]].time = domains[i + 1];
    }
    const std::vector<std::string> addresses = file.values("SELECT domain,ip,successNum FROM ip_t");
    for (std::size_t i = 0; i < addresses.size(); i += 3) {
        found[addresses[i]].successes[addresses[i + 1]] = std::stol(addresses[i + 2]);
    }
    for (const auto& [domain, entry] : found) {
        if (entry.time.empty() || entry.successes.empty()) {
            lose(domain + ": half of a pair of domain and addresses");
        }
    }
    return found;
}

}  // namespace vlox_test
