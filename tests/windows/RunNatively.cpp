// Stands for a program of the Linux machine that a test under Wine starts: same arguments, standard input and
// output and exit code. Wine starts such programs but can't hand them a pipe, so that a connection goes
// between.
#include <Poco/Exception.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/Process.h>
#include <Poco/UnicodeConverter.h>

#include <fcntl.h>
#include <io.h>
// as POCO includes it, which wants to be the first
#include <windows.h>
// after <windows.h>
#include <shellapi.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

namespace {

// $0 is the port to come to: with what is read and written, with complaints and with the exit code. What
// follows is the program with its arguments.
const char* const kBehindTheConnections =
    "d=/dev/tcp/127.0.0.1/$0; exec 3<>$d 4<>$d 5<>$d; \"$@\" <&3 >&3 2>&4 3>&- 4>&- 5>&-; echo $? >&5";

std::string utf8(const std::wstring& wide) {
    std::string text;
    Poco::UnicodeConverter::toUTF8(wide, text);
    return text;
}

// "C:\folder\file" as the Linux machine calls it; anything else as it is.
std::string nativeArgument(const std::wstring& argument) {
    if (argument.size() < 3 || argument[1] != L':' || (argument[2] != L'\\' && argument[2] != L'/')) {
        return utf8(argument);
    }
    using UnixName = char*(CDECL*)(const wchar_t*);
    const FARPROC found = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name");
    const auto unixName = reinterpret_cast<UnixName>(reinterpret_cast<void*>(found));
    char* const name = unixName == nullptr ? nullptr : unixName(argument.c_str());
    if (name == nullptr) {  // in a folder that the program is to make
        const std::size_t end = argument.find_last_of(L"\\/");
        return nativeArgument(argument.substr(0, end)) + "/" + utf8(argument.substr(end + 1));
    }
    std::string result = name;
    HeapFree(GetProcessHeap(), 0, name);
    // Wine knows its C: by a link whose name a program under Wine can't open again.
    const std::string link = "/dosdevices/c:/";
    const std::size_t place = result.find(link);
    if (place != std::string::npos) {
        result.replace(place, link.size(), "/drive_c/");
    }
    return result;
}

void forwardInput(Poco::Net::StreamSocket connection) {
    std::array<char, 4096> buffer{};
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    try {
        DWORD got = 0;
        while (ReadFile(input, buffer.data(), static_cast<DWORD>(buffer.size()), &got, nullptr) != 0 &&
               got > 0) {
            connection.sendBytes(buffer.data(), static_cast<int>(got));
        }
        connection.shutdownSend();
    } catch (const Poco::Exception&) {  // the program has ended
    }
}

void forwardOutput(Poco::Net::StreamSocket connection, std::FILE* output) {
    std::array<char, 4096> buffer{};
    int got = 0;
    while ((got = connection.receiveBytes(buffer.data(), static_cast<int>(buffer.size()))) > 0) {
        std::fwrite(buffer.data(), 1, static_cast<std::size_t>(got), output);
        std::fflush(output);
    }
}

int exitCode(Poco::Net::StreamSocket& connection) {
    std::array<char, 8> text{};
    const int got = connection.receiveBytes(text.data(), static_cast<int>(text.size() - 1));
    return got > 0 ? std::atoi(text.data()) : EXIT_FAILURE;
}

int run() {
    Poco::Net::ServerSocket door(Poco::Net::SocketAddress("127.0.0.1", 0));
    Poco::Process::Args told{"-c", kBehindTheConnections, std::to_string(door.address().port()),
                             VLOX_NATIVE_PROGRAM};
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; i < count; ++i) {
        told.push_back(nativeArgument(arguments[i]));
    }
    LocalFree(arguments);
    Poco::Process::launch("Z:\\bin\\bash", told);
    Poco::Net::StreamSocket work = door.acceptConnection();
    Poco::Net::StreamSocket errors = door.acceptConnection();
    Poco::Net::StreamSocket end = door.acceptConnection();
    std::thread(forwardInput, work).detach();
    std::thread complaints(forwardOutput, errors, stderr);
    forwardOutput(work, stdout);
    complaints.join();
    return exitCode(end);
}

}  // namespace

int main() {
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    try {
        const int code = run();
        // The thread that waits for input is not worth waiting for.
        std::_Exit(code);
    } catch (const Poco::Exception& failure) {
        std::fprintf(stderr, "%s: %s\n", VLOX_NATIVE_PROGRAM, failure.displayText().c_str());
        return EXIT_FAILURE;
    }
}
