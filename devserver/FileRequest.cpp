#include "FileRequest.h"

#include <Poco/Exception.h>
#include <Poco/Net/MediaType.h>
#include <Poco/Net/MessageHeader.h>
#include <Poco/Net/NameValueCollection.h>
#include <Poco/String.h>
#include <Poco/URI.h>

#include <functional>

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

std::string readAll(const std::function<std::size_t(char*, std::size_t)>& read) {
    std::string text(kMostText, '\0');
    std::size_t size = 0;
    while (const std::size_t got = read(&text[size], text.size() - size)) {
        size += got;
    }
    if (size == kMostText) {
        throw WireError(kWireBadRequest, "a field is too long");
    }
    text.resize(size);
    return text;
}

std::size_t readSome(std::istream& source, char* buffer, std::size_t room) {
    source.read(buffer, static_cast<std::streamsize>(room));
    return static_cast<std::size_t>(source.gcount());
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
            readFields(readAll([&](char* buffer, std::size_t room) {
                return request.stream != nullptr ? readSome(*request.stream, buffer, room) : 0;
            }));
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
    auto parts = std::make_unique<FormParts>(body, boundary);
    net::MessageHeader header;
    while (parts->next(header)) {
        std::string disposition;
        net::NameValueCollection named;
        net::MessageHeader::splitParameters(header.get("Content-Disposition", ""), disposition, named);
        if (!named.has("name")) {
            throw WireError(kWireBadRequest, "a part of the form has no name");
        }
        if (named.has("filename")) {
            m_fileName = named["filename"];
            m_parts = std::move(parts);
            return;
        }
        const std::string value =
            unescaped(readAll([&](char* buffer, std::size_t room) { return parts->read(buffer, room); }));
        if (!m_fields.emplace(named["name"], value).second) {
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

std::size_t FileRequest::read(char* buffer, std::size_t room) {
    const std::size_t got = m_parts ? m_parts->read(buffer, room) : readSome(*m_file, buffer, room);
    m_read += got;
    net::MessageHeader header;
    if (got == 0 && m_parts && m_parts->next(header)) {
        throw WireError(kWireBadRequest, "the form goes on behind the file");
    }
    if (got == 0 && !m_parts && !m_announced.empty() && m_announced != std::to_string(m_read)) {
        throw WireError(kWireBadRequest, "the file ends in the middle");
    }
    return got;
}

}  // namespace devserver
