#ifndef TOVX_TEST_MINI_JSON_H
#define TOVX_TEST_MINI_JSON_H

// A small JSON reader for the corpus oracles: enough of the format for files we trust.
// Strings are kept as UTF-16 units, since names in compound files are.

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tovxtest {

struct JsonValue {
    enum class Kind { Null, Bool, Number, String, Array, Object } kind = Kind::Null;
    bool boolean = false;
    double number = 0;
    std::u16string text;
    std::vector<JsonValue> items;
    std::map<std::string, JsonValue> members;  // keys are ASCII in the oracles

    // The member `key`, or a null value when absent or when this is no object.
    const JsonValue& operator[](const std::string& key) const;
    std::string ascii() const;  // `text` with each unit narrowed; for ASCII texts
};

// Parses `source`; false when it is not well-formed JSON.
bool parseJson(const std::string& source, JsonValue& out);

}  // namespace tovxtest

#endif
