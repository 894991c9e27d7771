#ifndef DEVSERVER_JSON_H
#define DEVSERVER_JSON_H

#include <string>

#include <rapidjson/document.h>

namespace devserver {

/// Appends a member; the text, the object is copied.
void addText(rapidjson::Document& object, const char* name, const std::string& text);
void addNumber(rapidjson::Document& object, const char* name, long long number);
void addObject(rapidjson::Document& object, const char* name, const rapidjson::Value& value);

std::string toText(const rapidjson::Value& value);

}  // namespace devserver

#endif
