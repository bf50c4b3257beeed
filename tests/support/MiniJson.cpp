#include "MiniJson.h"

#include <cstdlib>

namespace tovxtest {

namespace {

class Parser {
public:
    explicit Parser(const std::string& source) : s_(source) {}

    bool document(JsonValue& out) {
        if (!value(out)) return false;
        space();
        return i_ == s_.size();
    }

private:
    void space() {
        while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\n' || s_[i_] == '\r' || s_[i_] == '\t')) ++i_;
    }
    bool literal(const char* word) {
        const std::string w(word);
        if (s_.compare(i_, w.size(), w) != 0) return false;
        i_ += w.size();
        return true;
    }

    bool value(JsonValue& out) {
        space();
        if (i_ >= s_.size()) return false;
        const char c = s_[i_];
        if (c == '{') return object(out);
        if (c == '[') return array(out);
        if (c == '"') return out.kind = JsonValue::Kind::String, string(out.text);
        if (literal("true")) return out.kind = JsonValue::Kind::Bool, out.boolean = true;
        if (literal("false")) return out.kind = JsonValue::Kind::Bool, out.boolean = false, true;
        if (literal("null")) return true;
        char* end = nullptr;
        out.number = std::strtod(s_.c_str() + i_, &end);
        if (end == s_.c_str() + i_) return false;
        out.kind = JsonValue::Kind::Number;
        i_ = static_cast<size_t>(end - s_.c_str());
        return true;
    }

    bool object(JsonValue& out) {
        out.kind = JsonValue::Kind::Object;
        ++i_;
        space();
        if (i_ < s_.size() && s_[i_] == '}') return ++i_, true;
        for (;;) {
            space();
            std::u16string key;
            if (i_ >= s_.size() || s_[i_] != '"' || !string(key)) return false;
            space();
            if (i_ >= s_.size() || s_[i_++] != ':') return false;
            JsonValue member;
            if (!value(member)) return false;
            out.members[JsonValue{JsonValue::Kind::String, false, 0, key, {}, {}}.ascii()] = std::move(member);
            space();
            if (i_ < s_.size() && s_[i_] == ',') { ++i_; continue; }
            return i_ < s_.size() && s_[i_++] == '}';
        }
    }

    bool array(JsonValue& out) {
        out.kind = JsonValue::Kind::Array;
        ++i_;
        space();
        if (i_ < s_.size() && s_[i_] == ']') return ++i_, true;
        for (;;) {
            out.items.emplace_back();
            if (!value(out.items.back())) return false;
            space();
            if (i_ < s_.size() && s_[i_] == ',') { ++i_; continue; }
            return i_ < s_.size() && s_[i_++] == ']';
        }
    }

    // UTF-8 in the source becomes UTF-16 units; \u escapes are units already.
    bool string(std::u16string& out) {
        ++i_;
        while (i_ < s_.size() && s_[i_] != '"') {
            unsigned char c = static_cast<unsigned char>(s_[i_++]);
            if (c == '\\') {
                if (i_ >= s_.size()) return false;
                const char e = s_[i_++];
                switch (e) {
                    case 'n': out += u'\n'; break;
                    case 't': out += u'\t'; break;
                    case 'r': out += u'\r'; break;
                    case 'b': out += u'\b'; break;
                    case 'f': out += u'\f'; break;
                    case 'u': {
                        if (i_ + 4 > s_.size()) return false;
                        out += static_cast<char16_t>(std::strtoul(s_.substr(i_, 4).c_str(), nullptr, 16));
                        i_ += 4;
                        break;
                    }
                    default: out += static_cast<char16_t>(e);
                }
                continue;
            }
            char32_t cp = c;
            int extra = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
            if (extra) cp = c & (0x3F >> extra);
            for (; extra > 0 && i_ < s_.size(); --extra) cp = (cp << 6) | (static_cast<unsigned char>(s_[i_++]) & 0x3F);
            if (cp >= 0x10000) {
                cp -= 0x10000;
                out += static_cast<char16_t>(0xD800 + (cp >> 10));
                out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
            } else {
                out += static_cast<char16_t>(cp);
            }
        }
        if (i_ >= s_.size()) return false;
        ++i_;
        return true;
    }

    const std::string& s_;
    size_t i_ = 0;
};

}  // namespace

const JsonValue& JsonValue::operator[](const std::string& key) const {
    static const JsonValue kNull;
    const auto found = members.find(key);
    return found == members.end() ? kNull : found->second;
}

std::string JsonValue::ascii() const { return std::string(text.begin(), text.end()); }

bool parseJson(const std::string& source, JsonValue& out) {
    out = JsonValue();
    return Parser(source).document(out);
}

}  // namespace tovxtest
