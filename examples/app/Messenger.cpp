#include "Messenger.h"

#include <common/Json.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace app {

using common::intOf;
using common::JsonObject;
using common::textOf;

namespace {

// Waiting tasks are sorted anew at each fetch, so a long file is fed in step with the work.
constexpr long long kMostOutstanding = 1000;

}  // namespace

Messenger::Messenger(const Options& options, Journal& journal)
    : m_options(options), m_journal(journal), m_progress(options.progressLine) {}

bool Messenger::run(const std::atomic<bool>& interrupted) {
    std::ostringstream platform;
    platform << std::ifstream(std::filesystem::u8path(m_options.platform)).rdbuf();
    bool allSent = false;
    {
        const Client client(m_options, platform.str(), [this] {
            return createMessagesModule("messages", m_options.senders, &Messenger::listen, this);
        });
        start(client);
        allSent = sendLines(client, interrupted);
        await(0, interrupted);
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    sayWhatIsNew();
    m_progress.finish(state());
    return allSent && outstanding() == 0;
}

void Messenger::start(const Client& client) {
    rapidjson::Document request(rapidjson::kObjectType);
    rapidjson::Value ids(rapidjson::kArrayType);
    for (const auto& [id, json] : m_journal.results()) {
        ids.PushBack(rapidjson::StringRef(id.data(), id.size()), request.GetAllocator());
    }
    request.AddMember("delivered", ids, request.GetAllocator());
    commandMessages(client.id(), MESSAGES_START, common::toText(request).c_str());
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_figures.leftBehind > 0) {
        m_progress.say("an earlier run left " + std::to_string(m_figures.leftBehind) +
                       " behind: going on with them");
    }
}

bool Messenger::sendLines(const Client& client, const std::atomic<bool>& interrupted) {
    std::ifstream file(std::filesystem::u8path(m_options.messages), std::ios::binary);
    int number = 0;
    for (std::string line; !interrupted && std::getline(file, line);) {
        ++number;
        if (line.find_first_not_of(" \t\r") != std::string::npos) {
            sendLine(client, number, line);
            await(kMostOutstanding, interrupted);
        }
    }
    return file.eof();
}

void Messenger::sendLine(const Client& client, int number, const std::string& line) {
    rapidjson::Document message;
    message.Parse<rapidjson::kParseValidateEncodingFlag>(line.data(), line.size());
    if (message.HasParseError()) {
        m_progress.say("line " + std::to_string(number) + " is no JSON and is skipped");
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_figures.skipped;
        return;
    }
    commandMessages(client.id(), MESSAGES_SEND,
                    JsonObject().add("line", number).add("message", message).text().c_str());
}

void Messenger::await(long long most, const std::atomic<bool>& interrupted) {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (true) {
        sayWhatIsNew();
        m_progress.show(state());
        if (outstanding() <= most || interrupted) {
            return;
        }
        m_changed.wait_for(lock, std::chrono::milliseconds(100));
    }
}

void Messenger::sayWhatIsNew() {
    for (const std::string& line : m_said) {
        m_progress.say(line);
    }
    m_said.clear();
}

long long Messenger::outstanding() const {
    return m_figures.stored + m_figures.leftBehind - m_figures.delivered - m_figures.twice;
}

std::string Messenger::state() const {
    std::string text = std::to_string(m_figures.stored) + " stored, " + std::to_string(m_figures.delivered) +
                       " results, " + std::to_string(outstanding()) + " outstanding";
    if (m_retries > 0) {
        text += ", " + std::to_string(m_retries) + " sent again (last failure " +
                std::to_string(m_lastFailure) + ")";
    }
    return text;
}

bool Messenger::listen(void* self, int event, const char* json) {
    return static_cast<Messenger*>(self)->onEvent(event, common::parseJson(json));
}

bool Messenger::onEvent(int event, const rapidjson::Document& told) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    switch (event) {
        case MESSAGES_STARTED:
            m_figures.leftBehind = intOf(told, "tasks", 0) + intOf(told, "results", 0);
            m_figures.interrupted = intOf(told, "interrupted", 0);
            break;
        case MESSAGES_STORED:
            ++m_figures.stored;
            break;
        case MESSAGES_KNOWN:
            ++m_figures.known;
            break;
        case MESSAGES_REFUSED:
            ++m_figures.refused;
            break;
        case MESSAGES_RETRY:
            ++m_retries;
            m_lastFailure = intOf(told, "code", 0);
            break;
        case MESSAGES_RESULT:
            return onResult(told);
        case MESSAGES_REPORTED:
            m_figures.report = common::toText(told);
            break;
        default:
            break;
    }
    return true;
}

bool Messenger::onResult(const rapidjson::Document& told) {
    const std::string id = textOf(told, "id");
    const int code = intOf(told, "code", 0);
    switch (m_journal.take(id, common::toText(told))) {
        case Journal::TAKEN:
            ++m_figures.delivered;
            if (code != 0) {
                ++m_figures.failedResults[code];
            }
            break;
        case Journal::TWICE:
            ++m_figures.twice;
            m_said.push_back("delivered twice: " + id + " (the second time was recognised)");
            break;
        case Journal::FAILED:
            return false;
    }
    m_changed.notify_all();
    return true;
}

}  // namespace app
