#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Mirel {

// A small strict JSON reader for the repository's key files and config: bounded depth, no
// exceptions, nothing but what the documents use.
struct JsonValue {
    enum class Type { Null, Bool, Number, String, Array, Object };
    Type type = Type::Null;
    bool boolean = false;
    double number = 0;
    std::string text;
    std::vector<JsonValue> items;
    std::map<std::string, JsonValue> members;

    const JsonValue* member(const std::string& name) const;
    // The member as text / as a whole number; empty when absent or of another type.
    std::optional<std::string> string(const std::string& name) const;
    std::optional<long long> integer(const std::string& name) const;
};

// Empty on any defect; `error` says what.
std::optional<JsonValue> parseJson(const std::string& text, std::string& error);

// Strict standard base64 with padding; empty on any defect.
std::optional<std::string> decodeBase64(const std::string& text);

} // namespace Mirel
