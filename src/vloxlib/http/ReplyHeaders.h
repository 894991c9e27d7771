#ifndef VLOXLIB_HTTP_REPLYHEADERS_H
#define VLOXLIB_HTTP_REPLYHEADERS_H

#include <map>
#include <string>
#include <string_view>

namespace vloxlib {

/// @brief The headers of an exchange, which may bring several replies: redirects and interim ones come first.
class ReplyHeaders {
public:
    /// @brief Takes a line as libcurl delivers it.
    void take(std::string_view line);

    /// @brief Those of all replies, names as sent; a name that is there keeps its first value.
    std::map<std::string, std::string> all;

    /// @name The last reply, by which the exchange's own decisions are made
    /// @{
    long status() const { return m_status; }  ///< 0 ahead of the first reply
    /// @brief A header by its name in any case, until the next line is taken. Empty when it isn't there, a
    /// blank when it has no value; trailers don't count.
    std::string_view last(std::string_view name) const;
    /// @}

private:
    void takeIntoAll(std::string_view line);
    void takeIntoLast(std::string_view line);

    std::string* m_open = nullptr;  // the value in `all` that a folded line would go on with
    std::string m_last;             // a header a line, unfolded
    long m_status = 0;
    bool m_headEnded = false;
};

}  // namespace vloxlib

#endif
