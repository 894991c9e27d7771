/// @file
/// @brief The qualified name of the function around a log call, cut out by the compiler.
#ifndef VLOXLIB_LOG_FUNCTIONNAME_H
#define VLOXLIB_LOG_FUNCTIONNAME_H

#include <cstddef>

#if defined(__GNUC__)
#define VLOX_FUNCTION_NAME                                                                  \
    ::vloxlib::cutFunctionName<::vloxlib::SignatureReader(__PRETTY_FUNCTION__).nameSize()>( \
        __PRETTY_FUNCTION__)
#else
#define VLOX_FUNCTION_NAME __FUNCTION__
#endif

namespace vloxlib {

/// @brief A function's name as a text of static storage, made while compiling.
template <std::size_t Size>
struct FunctionName {
    char text[Size] = {};
};

template <std::size_t Size>
constexpr const char* functionNameText(const FunctionName<Size>& name) {
    return name.text;
}
constexpr const char* functionNameText(const char* name) { return name; }

/// @brief Reads the compiler's text of a whole signature; internal to VLOX_FUNCTION_NAME.
class SignatureReader {
public:
    constexpr explicit SignatureReader(const char* text) : m_text(text) {
        while (m_text[m_end] != '\0') {
            ++m_end;
        }
        dropTemplateArguments();
        findOperator();
        dropParameters();
        findBegin();
    }
    /// The name's length without a terminator.
    constexpr std::size_t nameSize() const { return copyName(nullptr); }
    /// Writes the name, without a terminator, unless `to` is null. Parameters of enclosing functions are left
    /// out.
    constexpr std::size_t copyName(char* to) const {
        std::size_t length = 0;
        std::size_t angles = 0;
        for (std::size_t at = m_begin; at < m_end; ++at) {
            if (at < m_operator) {
                angles += m_text[at] == '<' ? 1 : 0;
                angles -= m_text[at] == '>' && angles > 0 ? 1 : 0;
                if (angles == 0 && isParameters(at)) {
                    at = closing(at);
                    continue;
                }
            }
            if (to != nullptr) {
                to[length] = m_text[at];
            }
            ++length;
        }
        return length;
    }

private:
    constexpr bool matches(std::size_t at, const char* word) const {
        for (; *word != '\0'; ++word, ++at) {
            if (at >= m_end || m_text[at] != *word) {
                return false;
            }
        }
        return true;
    }
    constexpr bool isNamePart(std::size_t at) const {
        const char c = m_text[at];
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    }
    constexpr std::size_t closing(std::size_t open) const {
        std::size_t depth = 0;
        for (std::size_t at = open; at < m_end; ++at) {
            if (m_text[at] == '(') {
                ++depth;
            } else if (m_text[at] == ')' && --depth == 0) {
                return at;
            }
        }
        return m_end;
    }
    // A list in brackets that follows a name; "(anonymous namespace)" follows colons.
    constexpr bool isParameters(std::size_t at) const {
        return m_text[at] == '(' && at > m_begin && m_text[at - 1] != ':' && closing(at) < m_end;
    }
    // " [with T = int]" or " [T = int]" at the end.
    constexpr void dropTemplateArguments() {
        for (std::size_t at = 0; at + 1 < m_end; ++at) {
            if (m_text[at] == ' ' && m_text[at + 1] == '[') {
                m_end = at;
            }
        }
    }
    // The signs of an operator's name aren't brackets, and a conversion's name holds blanks.
    constexpr void findOperator() {
        m_operator = m_end;
        for (std::size_t at = 0; at < m_end; ++at) {
            if (matches(at, "operator") && (at == 0 || !isNamePart(at - 1)) &&
                (at + 8 == m_end || !isNamePart(at + 8))) {
                m_operator = at;
            }
        }
    }
    // What stands behind the name: the last list in brackets, and "const" and the like after it.
    constexpr void dropParameters() {
        std::size_t close = m_end;
        while (close > 0 && m_text[close - 1] != ')' && m_text[close - 1] != '>') {
            --close;
        }
        if (close == 0 || m_text[close - 1] == '>') {
            return;
        }
        std::size_t depth = 0;
        for (std::size_t at = close; at-- > 0;) {
            if (m_text[at] == ')') {
                ++depth;
            } else if (m_text[at] == '(' && --depth == 0) {
                m_end = at;
                break;
            }
        }
        m_operator = m_operator < m_end ? m_operator : m_end;
    }
    // What stands before the name: the result's type and words such as "static", up to the last blank outside
    // of brackets.
    constexpr void findBegin() {
        std::size_t depth = 0;
        for (std::size_t at = m_operator; at-- > 0;) {
            const char c = m_text[at];
            if (c == ')' || c == '>' || c == '}') {
                ++depth;
            } else if (c == '(' || c == '<' || c == '{') {
                if (depth == 0) {
                    m_begin = at + 1;
                    return;
                }
                --depth;
            } else if (depth == 0 && (c == ' ' || c == '*' || c == '&')) {
                m_begin = at + 1;
                return;
            }
        }
    }

    const char* m_text;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::size_t m_operator = 0;  // where "operator" begins, m_end when the function is none
};

/// @brief "vloxlib::Timer::stop" out of "virtual void vloxlib::Timer::stop(int) const".
template <std::size_t Size>
constexpr FunctionName<Size + 1> cutFunctionName(const char* signature) {
    FunctionName<Size + 1> name;
    SignatureReader(signature).copyName(name.text);
    return name;
}

}  // namespace vloxlib

#endif
