#include "Courier.h"

#include <common/Json.h>
#include <files/Files.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>

namespace app {

using common::intOf;
using common::JsonObject;
using common::longOf;
using common::textOf;

namespace {

constexpr int kBarWidth = 30;
constexpr int kFirstColumn = 24;
// Attempts in a row that move nothing, some five seconds.
constexpr int kMostAttempts = 6;

std::string fixed(double value, int digits) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << value;
    return text.str();
}

std::string size(long long bytes) {
    return bytes < 1024 * 1024 ? fixed(static_cast<double>(bytes) / 1024, 1) + " KiB"
                               : fixed(static_cast<double>(bytes) / 1024 / 1024, 1) + " MiB";
}

std::string whyFailed(int code, const std::string& data) {
    switch (code) {
        case FILES_CODE_CHANGED:
            return "the file was changed, or has gone, while it was being sent; run again to send it as it "
                   "is now";
        case FILES_CODE_DIGEST:
            return "what arrived is not what was sent, and a second attempt was no better";
        case FILES_CODE_TARGET:
            return "the copy can't be put in its place";
        default: {
            const std::string told = textOf(common::parseJson(data), "desc");
            return "the platform refuses, code " + std::to_string(code) + (told.empty() ? "" : ": " + told);
        }
    }
}

void row(std::ostream& out, const std::string& name, const std::string& value) {
    out << std::left << std::setw(kFirstColumn) << name << value << '\n';
}

}  // namespace

Courier::Courier(const Options& options, Journal& journal)
    : m_options(options), m_journal(journal), m_progress(options.progressLine) {}

std::string Courier::copyPath() const {
    const std::filesystem::path folder =
        std::filesystem::absolute(std::filesystem::u8path(m_options.directory)) / "fetched";
    return (folder / std::filesystem::u8path(m_options.file).filename()).u8string();
}

bool Courier::run(const std::atomic<bool>& interrupted) {
    std::ostringstream platform;
    platform << std::ifstream(std::filesystem::u8path(m_options.platform)).rdbuf();
    const std::string source =
        std::filesystem::absolute(std::filesystem::u8path(m_options.file)).lexically_normal().u8string();
    std::filesystem::create_directories(std::filesystem::u8path(copyPath()).parent_path());
    const Client client(m_options, platform.str(), [this] {
        return createFilesModule("files", m_options.senders, &Courier::listen, this);
    });
    start(client);
    const rapidjson::Document sent =
        carry(client, FILES_SEND, JsonObject().add("filePath", source).text(), m_up, interrupted);
    if (sent.IsNull()) {
        return false;
    }
    m_digest = textOf(sent, "digest");
    const std::string request = JsonObject()
                                    .add("fileUrl", textOf(sent, "fileUrl"))
                                    .add("filePath", copyPath())
                                    .add("fileSize", longOf(sent, "fileSize", 0))
                                    .add("digest", m_digest)
                                    .text();
    return !carry(client, FILES_FETCH, request, m_down, interrupted).IsNull();
}

void Courier::start(const Client& client) {
    rapidjson::Document request(rapidjson::kObjectType);
    rapidjson::Value ids(rapidjson::kArrayType);
    for (const auto& [id, json] : m_journal.results()) {
        ids.PushBack(rapidjson::StringRef(id.data(), id.size()), request.GetAllocator());
    }
    request.AddMember("delivered", ids, request.GetAllocator());
    commandFiles(client.id(), FILES_START, common::toText(request).c_str());
}

rapidjson::Document Courier::carry(const Client& client, int command, const std::string& request, Way& way,
                                   const std::atomic<bool>& interrupted) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_way = &way;
        way.asked = true;
    }
    commandFiles(client.id(), command, request.c_str());
    std::unique_lock<std::mutex> lock(m_mutex);
    while (true) {
        showState();
        const auto result = m_journal.results().find(way.id);
        if (result != m_journal.results().end()) {
            m_progress.finish(bar());
            return common::parseJson(textOf(common::parseJson(result->second), "data"));
        }
        const auto failure = m_failures.find(way.id);
        if (failure != m_failures.end() || !m_giveUp.empty()) {
            m_progress.finish(bar());
            throw std::runtime_error(m_options.file + ": " + (m_giveUp.empty() ? failure->second : m_giveUp));
        }
        if (interrupted) {
            m_progress.finish(bar());
            return {};
        }
        m_changed.wait_for(lock, std::chrono::milliseconds(100));
    }
}

bool Courier::listen(void* self, int event, const char* json) {
    return static_cast<Courier*>(self)->onEvent(event, common::parseJson(json));
}

bool Courier::onEvent(int event, const rapidjson::Document& told) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    switch (event) {
        case FILES_STARTED:
            if (intOf(told, "tasks", 0) > 0) {
                m_said = "an earlier run left the file on its way: going on from there";
            }
            break;
        case FILES_ACCEPTED:
        case FILES_KNOWN:
            m_way->id = textOf(told, "id");
            break;
        case FILES_REFUSED:
            m_way->id = textOf(told, "id");
            m_failures[m_way->id] = textOf(told, "why");
            break;
        case FILES_PROGRESS:
            onProgress(told);
            break;
        case FILES_RETRY:
            onRetry(told);
            break;
        case FILES_RESULT:
            return onResult(told);
        default:
            break;
    }
    m_changed.notify_all();
    return true;
}

bool Courier::onResult(const rapidjson::Document& told) {
    const std::string id = textOf(told, "id");
    const int code = intOf(told, "code", 0);
    bool taken = true;
    if (code == 0) {
        taken = m_journal.take(id, common::toText(told)) != Journal::FAILED;
    } else {  // not for the journal: the next run may try it again
        m_failures[id] = whyFailed(code, textOf(told, "data"));
    }
    m_changed.notify_all();
    return taken;
}

void Courier::onProgress(const rapidjson::Document& told) {
    m_phase = textOf(told, "phase");
    m_phaseDone = longOf(told, "done", 0);
    m_phaseTotal = longOf(told, "total", 0);
    Way* const way = m_phase == "sending" ? &m_up : m_phase == "fetching" ? &m_down : nullptr;
    if (way != nullptr) {
        const auto now = std::chrono::steady_clock::now();
        if (way->first < 0) {
            way->first = m_phaseDone;
            way->begin = now;
        }
        way->total = m_phaseTotal;
        way->done = m_phaseDone;
        way->end = now;
    }
}

void Courier::onRetry(const rapidjson::Document& told) {
    const int code = intOf(told, "code", 0);
    if (code == FILES_CODE_DISK) {
        m_giveUp = "the copy doesn't fit, the disk of " + m_options.directory +
                   " is full or can't be written; what has arrived stays, make room and run again";
    } else if (intOf(told, "attempt", 0) >= kMostAttempts) {
        m_giveUp = "the platform doesn't answer (code " + std::to_string(code) +
                   "); what has been moved stays moved, run again to go on";
    } else if (intOf(told, "attempt", 0) == 1) {
        m_said = "interrupted (code " + std::to_string(code) + "): trying again";
    }
}

void Courier::showState() {
    if (!m_said.empty()) {
        m_progress.say(m_said);
        m_said.clear();
    }
    if (!m_phase.empty()) {
        m_progress.show(bar());
    }
}

std::string Courier::bar() const {
    if (m_phaseTotal <= 0) {
        return m_phase;
    }
    const auto filled = static_cast<std::size_t>(m_phaseDone * kBarWidth / m_phaseTotal);
    std::ostringstream text;
    text << std::left << std::setw(10) << m_phase << "[" << std::string(filled, '#')
         << std::string(kBarWidth - std::min<std::size_t>(filled, kBarWidth), '-') << "] " << std::right
         << std::setw(3) << m_phaseDone * 100 / m_phaseTotal << " %  " << size(m_phaseDone) << " of "
         << size(m_phaseTotal);
    return text.str();
}

void Courier::printWay(std::ostream& out, const char* name, const Way& way) {
    if (!way.asked) {
        row(out, name, "not yet");
        return;
    }
    if (way.first < 0) {
        row(out, name, "by an earlier run");
        return;
    }
    const long long moved = way.done - way.first;
    const double seconds = std::chrono::duration<double>(way.end - way.begin).count();
    row(out, name,
        size(moved) + " in " + fixed(seconds, 2) + " s" +
            (seconds > 0 ? ", " + size(static_cast<long long>(static_cast<double>(moved) / seconds)) + "/s"
                         : "") +
            (way.first > 0 ? " (" + size(way.first) + " stood there already)" : "") +
            (way.done < way.total ? "; " + size(way.total - way.done) + " are left" : ""));
}

void Courier::printTable(std::ostream& out) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    out << '\n';
    row(out, "file", m_options.file);
    printWay(out, "sent", m_up);
    printWay(out, "fetched", m_down);
    if (!m_digest.empty()) {
        row(out, "digest", m_digest);
    }
    row(out, "copy", copyPath());
}

void Courier::writeSummary() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::ofstream(std::filesystem::u8path(m_options.summary)) << JsonObject()
                                                                     .add("copy", copyPath())
                                                                     .add("digest", m_digest)
                                                                     .add("sentBefore", m_up.first)
                                                                     .add("sent", m_up.done)
                                                                     .add("fetchedBefore", m_down.first)
                                                                     .add("fetched", m_down.done)
                                                                     .text()
                                                              << std::endl;
}

}  // namespace app
