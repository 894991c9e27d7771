// Name resolution: the choice that a domain has, beside a plain look-up under a plain mutex; and the first
// question for a domain that the cache file knows, beside the same two statements on a plain connection.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "AllocationCount.h"
#include "vloxlib/dnscache/DNSCache.h"

namespace {

constexpr int kSticky = 100;  // domains that have their address
constexpr int kFresh = 100000;
constexpr int kFreshPerRun = 2000;
constexpr const char* kCreate =
    "CREATE TABLE domain_t ('id' INTEGER PRIMARY KEY AUTOINCREMENT, 'domain' TEXT NOT NULL, 'sp' TEXT "
    "DEFAULT '', "
    "'expireTime' INTEGER DEFAULT 0, 'finallyTime' INTEGER DEFAULT (strftime('%s', 'now')), UNIQUE(domain, "
    "sp));"
    "CREATE TABLE ip_t ('id' INTEGER PRIMARY KEY AUTOINCREMENT, 'domain' TEXT NOT NULL, 'ip' TEXT NOT NULL, "
    "'port' INTEGER, 'sp' TEXT DEFAULT '', 'expireTime' INTEGER, 'priority' INTEGER, 'roundtripTime' "
    "INTEGER, "
    "'successNum' INTEGER INTEGER DEFAULT 0, 'errNum' INTEGER INTEGER DEFAULT 0, 'finallySuccessTime' "
    "INTEGER, "
    "'finallyFailTime' INTEGER, 'grade' INTEGER, UNIQUE(domain, ip, sp));";

void expect(bool held, const char* what) {
    if (!held) {
        throw std::runtime_error(what);
    }
}

std::string nameOf(int number) { return "service" + std::to_string(number) + ".bench.invalid"; }

struct Close {
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Connection = std::unique_ptr<sqlite3, Close>;
using Statement = std::unique_ptr<sqlite3_stmt, Close>;

// A cache file that knows all domains, each with two addresses.
class CacheFile {
public:
    CacheFile() : m_directory(std::filesystem::temp_directory_path() / ("vlox_bench_" + unique())) {
        std::filesystem::create_directories(m_directory);
        const Connection connection = connect();
        const std::string count = std::to_string(kFresh + kSticky);
        const std::string fill =
            "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < " + count +
            ") INSERT INTO domain_t (domain, expireTime, finallyTime) "
            "SELECT 'service' || i || '.bench.invalid', 60, 1700000000 FROM n;"
            "INSERT INTO ip_t (domain, ip, port, expireTime, priority, roundtripTime, finallySuccessTime, "
            "finallyFailTime, grade) SELECT domain, '192.0.2.' || a.last, 0, 60, 0, 0, 0, 0, 0 FROM "
            "domain_t, "
            "(SELECT 1 AS last UNION SELECT 2) a;";
        expect(sqlite3_exec(connection.get(), (kCreate + ("BEGIN;" + fill + "COMMIT;")).c_str(), nullptr,
                            nullptr, nullptr) == SQLITE_OK,
               "the cache file can't be filled");
    }
    ~CacheFile() {
        std::error_code ignored;
        std::filesystem::remove_all(m_directory, ignored);
    }
    CacheFile(const CacheFile&) = delete;
    CacheFile& operator=(const CacheFile&) = delete;

    std::string directory() const { return m_directory.string(); }
    Connection connect() const {
        sqlite3* connection = nullptr;
        sqlite3_open((m_directory / "vloxDomain.db").string().c_str(), &connection);
        return Connection(connection);
    }

private:
    static std::string unique() {
        int here = 0;
        return std::to_string(reinterpret_cast<std::uintptr_t>(&here));
    }
    std::filesystem::path m_directory;
};

const CacheFile& cacheFile() {
    static const CacheFile file;
    return file;
}

vloxlib::DNSCache& resolver() {
    static const std::shared_ptr<vloxlib::DNSCache> instance = [] {
        auto cache = vloxlib::DNSCache::getInstance();
        cache->init(cacheFile().directory());
        return cache;
    }();
    return *instance;
}

// The names that the sticky rows ask for.
const std::vector<std::string>& stickyNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> made;
        for (int i = 0; i < kSticky; ++i) {
            made.push_back(nameOf(i));
            expect(!resolver().getIpByDomain(made.back()).empty(), "a domain of the cache file isn't known");
        }
        return made;
    }();
    return names;
}

template <class LookUp>
void askForStickyNames(benchmark::State& state, LookUp lookUp) {
    const std::vector<std::string>& names = stickyNames();
    lookUp(names.front());  // what is made at the first use doesn't count
    std::size_t next = 0;
    const long long before = allocationCount();
    for (auto _ : state) {
        benchmark::DoNotOptimize(lookUp(names[next]));
        next = next + 1 == names.size() ? 0 : next + 1;
    }
    if (allocationCount() != before) {
        state.SkipWithError("a hit allocates");  // the text is short enough to need no memory of its own
    }
}

void stickyHit(benchmark::State& state) {
    vloxlib::DNSCache& cache = resolver();
    askForStickyNames(state, [&](const std::string& name) { return cache.getIpByDomain(name); });
}

void stickyHitBare(benchmark::State& state) {
    static std::mutex mutex;
    static const std::map<std::string, std::string> table = [] {
        std::map<std::string, std::string> filled;
        for (const std::string& name : stickyNames()) {
            filled[name] = "192.0.2.1";
        }
        return filled;
    }();
    askForStickyNames(state, [](const std::string& name) {
        const std::lock_guard<std::mutex> lock(mutex);
        return table.find(name)->second;
    });
}

// Each domain can be asked for once: it has its address from then on.
const std::string* nextFreshName() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> made;
        for (int i = 0; i < kFresh; ++i) {
            made.push_back(nameOf(kSticky + i));
        }
        return made;
    }();
    static std::atomic<std::size_t> next{0};
    const std::size_t mine = next++;
    return mine < names.size() ? &names[mine] : nullptr;
}

template <class Resolve>
void askForFreshNames(benchmark::State& state, Resolve resolve) {
    for (auto _ : state) {
        const std::string* name = nextFreshName();
        if (name == nullptr || resolve(*name).empty()) {
            state.SkipWithError("no domain left, or one that isn't known");
            break;
        }
    }
}

void firstResolve(benchmark::State& state) {
    vloxlib::DNSCache& cache = resolver();
    askForFreshNames(state, [&](const std::string& name) { return cache.getIpByDomain(name); });
}

// The two statements, prepared once; all columns of the rows are read.
class PlainReader {
public:
    PlainReader()
        : m_connection(cacheFile().connect()),
          m_domain(prepare("SELECT * FROM domain_t WHERE domain=? AND sp=? ")),
          m_ips(prepare(
              "SELECT * FROM ip_t WHERE domain=? AND sp=? ORDER BY finallySuccessTime, successNum DESC")) {}

    std::string resolve(const std::string& name) {
        std::string ip;
        readRows(m_domain.get(), name, [](sqlite3_stmt*) {});
        readRows(m_ips.get(), name, [&](sqlite3_stmt* row) {
            if (ip.empty()) {
                ip = reinterpret_cast<const char*>(sqlite3_column_text(row, 2));
            }
        });
        return ip;
    }

private:
    Statement prepare(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        expect(sqlite3_prepare_v2(m_connection.get(), sql, -1, &statement, nullptr) == SQLITE_OK, sql);
        return Statement(statement);
    }
    template <class Read>
    static void readRows(sqlite3_stmt* statement, const std::string& name, Read read) {
        sqlite3_bind_text(statement, 1, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
        sqlite3_bind_text(statement, 2, "", 0, SQLITE_STATIC);
        while (sqlite3_step(statement) == SQLITE_ROW) {
            for (int column = 0; column < sqlite3_column_count(statement); ++column) {
                if (sqlite3_column_type(statement, column) == SQLITE_TEXT) {
                    benchmark::DoNotOptimize(sqlite3_column_text(statement, column));
                } else {
                    benchmark::DoNotOptimize(sqlite3_column_int64(statement, column));
                }
            }
            read(statement);
        }
        sqlite3_reset(statement);
    }

    Connection m_connection;
    Statement m_domain;
    Statement m_ips;
};

void firstResolveBare(benchmark::State& state) {
    static PlainReader reader;
    askForFreshNames(state, [](const std::string& name) { return reader.resolve(name); });
}

BENCHMARK(stickyHit)->Name("Dns/sticky hit, 1 thread/vlox")->UseRealTime();
BENCHMARK(stickyHitBare)->Name("Dns/sticky hit, 1 thread/bare")->UseRealTime();
BENCHMARK(stickyHit)->Name("Dns/sticky hit, 4 threads/vlox")->Threads(4)->UseRealTime();
BENCHMARK(stickyHitBare)->Name("Dns/sticky hit, 4 threads/bare")->Threads(4)->UseRealTime();
BENCHMARK(firstResolve)
    ->Name("Dns/first resolve from the file/vlox")
    ->Iterations(kFreshPerRun)
    ->UseRealTime();
BENCHMARK(firstResolveBare)
    ->Name("Dns/first resolve from the file/bare")
    ->Iterations(kFreshPerRun)
    ->UseRealTime();

}  // namespace
