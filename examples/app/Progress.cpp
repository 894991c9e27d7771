#include "Progress.h"

#include <iostream>

namespace app {
namespace {

const char clearLine[] = "\r\033[K";

}  // namespace

void Progress::show(const std::string& text) {
    const auto now = std::chrono::steady_clock::now();
    if (text != m_shown && now >= m_next) {
        m_next = now + std::chrono::milliseconds(m_oneLine ? 100 : 1000);
        print(text);
    }
}

void Progress::say(const std::string& text) {
    if (m_oneLine) {
        std::cout << clearLine << text << '\n' << m_shown << std::flush;
    } else {
        std::cout << text << std::endl;
    }
}

void Progress::finish(const std::string& text) {
    if (text != m_shown) {
        print(text);
    }
    if (m_oneLine) {
        std::cout << std::endl;
    }
}

void Progress::print(const std::string& text) {
    m_shown = text;
    if (m_oneLine) {
        std::cout << clearLine << text << std::flush;
    } else {
        std::cout << text << std::endl;
    }
}

}  // namespace app
