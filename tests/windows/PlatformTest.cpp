// What only this system has: its registry, its debugger's view and its file names.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "support/UserSettings.h"
#include "win32/Identity.h"
#include "windows/OwnRegistry.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using vlox_test::OwnRegistry;

namespace {

std::string bytesOf(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

// What the process tells a debugger: without one, the telling is an exception that the system handles itself.
class DebuggerLines {
public:
    DebuggerLines() : m_handler(AddVectoredExceptionHandler(1, note)) { lines().clear(); }
    ~DebuggerLines() { RemoveVectoredExceptionHandler(m_handler); }
    DebuggerLines(const DebuggerLines&) = delete;
    DebuggerLines& operator=(const DebuggerLines&) = delete;

    static std::vector<std::string> await(std::size_t count) {
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (std::chrono::steady_clock::now() < giveUp) {
            {
                const std::lock_guard<std::mutex> lock(s_mutex);
                if (lines().size() >= count) {
                    return lines();
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return {};
    }

private:
    static constexpr DWORD kTellsDebugger = 0x40010006;

    static LONG CALLBACK note(EXCEPTION_POINTERS* exception) {
        const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
        if (record.ExceptionCode == kTellsDebugger) {
            const std::lock_guard<std::mutex> lock(s_mutex);
            lines().emplace_back(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
        }
        return EXCEPTION_CONTINUE_SEARCH;
    }
    static std::vector<std::string>& lines() {
        static std::vector<std::string> all;
        return all;
    }

    static std::mutex s_mutex;  // guards lines()
    void* const m_handler;
};

std::mutex DebuggerLines::s_mutex;

}  // namespace

TEST(WindowsRegistry, HoldsTheDeviceIdAsPlainBytes) {
    const vlox_test::UserSettings settings;
    const std::string id = vloxlib::deviceId();
    DWORD type = 0;
    DWORD size = 0;
    ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(HKEY_CURRENT_USER, L"Software\\VLOX", L"deviceId",
                                          RRF_RT_ANY | RRF_NOEXPAND, &type, nullptr, &size));
    EXPECT_EQ(static_cast<DWORD>(REG_SZ), type);
    EXPECT_EQ(id, vlox_test::storedSetting("deviceId")) << "no wide text, and no terminator";
}

TEST(WindowsRegistry, NamesTheSystemInUpTo31Units) {
    const OwnRegistry registry(HKEY_LOCAL_MACHINE, OwnRegistry::newName(), true);
    EXPECT_EQ("", vloxlib::osName()) << "no name";
    struct Row {
        const char* why;
        std::wstring stored;
        std::string name;
    };
    const std::wstring zero(1, L'\0');
    const Row rows[] = {
        {"the usual", L"Windows 10 Pro" + zero, "Windows 10 Pro"},
        {"as long as may be", std::wstring(31, L'x') + zero, std::string(31, 'x')},
        {"one more", std::wstring(32, L'x') + zero, ""},
        {"one more, without a terminator", std::wstring(32, L'x'), ""},
        {"up to the first zero", L"ab" + zero + L"cd" + zero, "ab"},
        {"low bytes only", L"\u4e2d\u6587" + zero, "\x2d\x87"},
        {"two units for one sign", L"\U0001f600" + zero, std::string("\x3d")},
        {"empty", L"", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        vlox_test::storeValue(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion",
                              L"ProductName", REG_SZ, bytesOf(row.stored));
        EXPECT_EQ(row.name, vloxlib::osName());
    }
}

TEST(WindowsDebugger, IsShownTheLinesThatTheFileGets) {
    const vlox_test::TempDir dir;
    const DebuggerLines shown;
    create_logger("quiet", dir.path("quiet.log").c_str(), false);
    VLOX_LOG(4, "to the file alone");
    create_logger("shown", dir.path("shown.log").c_str(), true);
    set_logger_level(4);
    VLOX_LOG(3, "below the level");
    VLOX_LOG(4, "to both");
    VLOX_LOG(5, "to both again");
    EXPECT_THAT(DebuggerLines::await(3), ElementsAre(HasSubstr("logPath: "), EndsWith("] to both\r\n"),
                                                     EndsWith("] to both again\r\n")));
    set_logger_level(5);
}
