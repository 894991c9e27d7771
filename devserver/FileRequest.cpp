#include "FileRequest.h"

#include <Poco/Exception.h>
#include <Poco/Net/MediaType.h>
#include <Poco/Net/MessageHeader.h>
#include <Poco/Net/NameValueCollection.h>
#include <Poco/String.h>
#include <Poco/URI.h>

#include "WireError.h"

namespace devserver {
namespace {

namespace net = Poco::Net;

// Above what the fields of a request hold.
constexpr std::size_t kMostText = 1 << 20;

std::string headerOf(const HttpRequest& request, const std::string& wanted) {
    for (const auto& [name, value] : request.headers) {
        if (Poco::icompare(name, wanted) == 0) {
            return value;
        }
    }
    return {};
}

std::string readText(std::istream& source) {
    std::string text(kMostText, '\0');
    source.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(source.gcount()));
    if (text.size() == kMostText) {
        throw WireError(kWireBadRequest, "a field is too long");
    }
    return text;
}

// Clients escape a field's value on its way into a form of several parts too.
std::string unescaped(const std::string& value) {
    std::string text;
    Poco::URI::decode(value, text);
    return text;
}

}  // namespace

FileRequest::FileRequest(const HttpRequest& request) {
    try {
        const net::MediaType type(headerOf(request, "Content-Type"));
        if (request.stream != nullptr && type.matches("multipart")) {
            readParts(*request.stream, type.getParameter("boundary"));
        } else if (request.method == "POST") {
            readFields(request.stream != nullptr ? readText(*request.stream) : "");
        } else {
            readFields(request.query);
            m_file = request.stream;
            m_announced = headerOf(request, "Content-Length");
        }
    } catch (const Poco::Exception& error) {
        throw WireError(kWireBadRequest, "the request can't be read: " + error.displayText());
    }
}

void FileRequest::readParts(std::istream& body, const std::string& boundary) {
    m_parts = std::make_unique<net::MultipartReader>(body, boundary);
    while (m_file == nullptr && m_parts->hasNextPart()) {
        net::MessageHeader header;
        m_parts->nextPart(header);
        std::string disposition;
        net::NameValueCollection named;
        net::MessageHeader::splitParameters(header.get("Content-Disposition", ""), disposition, named);
        if (!named.has("name")) {
            throw WireError(kWireBadRequest, "a part of the form has no name");
        }
        if (named.has("filename")) {
            m_fileName = named["filename"];
            m_file = &m_parts->stream();
        } else if (!m_fields.emplace(named["name"], unescaped(readText(m_parts->stream()))).second) {
            throw WireError(kWireBadRequest, "field " + named["name"] + " comes twice");
        }
    }
}

void FileRequest::readFields(const std::string& text) {
    Poco::URI form;
    form.setRawQuery(text);
    for (const auto& [name, value] : form.getQueryParameters()) {
        if (!m_fields.emplace(name, value).second) {
            throw WireError(kWireBadRequest, "field " + name + " comes twice");
        }
    }
}

void FileRequest::finish(std::uint64_t fileSize) {
    // Behind the last part of a form that has broken off another one seems to follow.
    const bool broken =
        m_parts ? m_parts->hasNextPart() : !m_announced.empty() && m_announced != std::to_string(fileSize);
    if (broken) {
        throw WireError(kWireBadRequest, "the request ends in the middle, or goes on behind the file");
    }
}

}  // namespace devserver
