#include "platform/common/reg_file.h"

#include "platform/common/utf.h"

#include <cctype>
#include <fstream>
#include <sstream>

namespace tessiva::platform {
namespace {

std::u16string Fold(std::u16string s) {
    for (auto& c : s)
        if (c >= u'A' && c <= u'Z') c = char16_t(c - u'A' + u'a');
    return s;
}

// Splits into logical lines: CR LF or LF ends a line; a value line ending in a
// backslash continues on the next line (hex lists), leading blanks dropped.
std::vector<std::u16string> LogicalLines(const std::u16string& text) {
    std::vector<std::u16string> lines;
    std::u16string cur;
    bool continued = false;
    size_t i = 0;
    while (i <= text.size()) {
        size_t end = text.find(u'\n', i);
        if (end == std::u16string::npos) end = text.size();
        std::u16string line = text.substr(i, end - i);
        if (!line.empty() && line.back() == u'\r') line.pop_back();
        if (continued) {
            size_t k = 0;
            while (k < line.size() && (line[k] == u' ' || line[k] == u'\t')) ++k;
            line = line.substr(k);
        }
        cur += line;
        // Only hex data lists continue; a quoted string never ends the line this way.
        continued = !cur.empty() && cur.back() == u'\\' && cur.find(u"=hex") != std::u16string::npos;
        if (continued) {
            cur.pop_back();
        } else {
            lines.push_back(cur);
            cur.clear();
        }
        i = end + 1;
    }
    if (!cur.empty()) lines.push_back(cur);
    return lines;
}

// Reads a quoted string starting at text[*pos] == '"'; handles \\ and \".
bool QuotedString(const std::u16string& text, size_t* pos, std::u16string* out) {
    if (*pos >= text.size() || text[*pos] != u'"') return false;
    out->clear();
    for (size_t i = *pos + 1; i < text.size(); ++i) {
        char16_t c = text[i];
        if (c == u'\\') {
            if (i + 1 >= text.size()) return false;
            out->push_back(text[++i]);
        } else if (c == u'"') {
            *pos = i + 1;
            return true;
        } else {
            out->push_back(c);
        }
    }
    return false;
}

int HexDigit(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
}

void AppendUtf16(const std::u16string& s, std::vector<uint8_t>* out) {
    for (char16_t c : s) {
        out->push_back(uint8_t(c & 0xFF));
        out->push_back(uint8_t(c >> 8));
    }
    out->push_back(0);
    out->push_back(0);
}

// Parses the data after '=' into a value; false when malformed.
bool ParseData(const std::u16string& d, RegValue* v) {
    if (d == u"-") return false;  // deletions have no place in a settings file
    if (!d.empty() && d[0] == u'"') {
        size_t pos = 0;
        std::u16string s;
        if (!QuotedString(d, &pos, &s) || pos != d.size()) return false;
        v->type = 1;
        AppendUtf16(s, &v->data);
        return true;
    }
    const std::u16string folded = Fold(d);
    if (folded.rfind(u"dword:", 0) == 0) {
        const std::u16string digits = d.substr(6);
        if (digits.empty() || digits.size() > 8) return false;
        uint32_t x = 0;
        for (char16_t c : digits) {
            const int h = HexDigit(c);
            if (h < 0) return false;
            x = (x << 4) | uint32_t(h);
        }
        v->type = 4;
        for (int k = 0; k < 4; ++k) v->data.push_back(uint8_t(x >> (8 * k)));
        return true;
    }
    size_t colon;
    if (folded.rfind(u"hex:", 0) == 0) {
        v->type = 3;
        colon = 3;
    } else if (folded.rfind(u"hex(", 0) == 0) {
        const size_t close = folded.find(u')');
        if (close == std::u16string::npos || close == 4 || close + 1 >= folded.size() || folded[close + 1] != u':')
            return false;
        uint32_t t = 0;
        for (size_t k = 4; k < close; ++k) {
            const int h = HexDigit(folded[k]);
            if (h < 0) return false;
            t = (t << 4) | uint32_t(h);
        }
        v->type = t;
        colon = close + 1;
    } else {
        return false;
    }
    // Comma-separated byte list, possibly empty; blanks are tolerated.
    std::u16string list;
    for (size_t k = colon + 1; k < d.size(); ++k)
        if (d[k] != u' ' && d[k] != u'\t') list.push_back(d[k]);
    if (list.empty()) return true;
    size_t k = 0;
    while (true) {
        if (k + 2 > list.size()) return false;
        const int hi = HexDigit(list[k]), lo = HexDigit(list[k + 1]);
        if (hi < 0 || lo < 0) return false;
        v->data.push_back(uint8_t(hi * 16 + lo));
        k += 2;
        if (k == list.size()) return true;
        if (list[k] != u',') return false;
        ++k;
    }
}

}  // namespace

std::u16string FoldKey(const std::u16string& key) {
    std::u16string k = Fold(key);
    while (!k.empty() && k.back() == u'\\') k.pop_back();
    return k;
}

bool RegFile::Parse(const std::string& raw) {
    keys_.clear();
    std::u16string text;
    if (raw.size() >= 2 && uint8_t(raw[0]) == 0xFF && uint8_t(raw[1]) == 0xFE) {
        if (raw.size() % 2) return false;
        for (size_t i = 2; i + 1 < raw.size(); i += 2)
            text.push_back(char16_t(uint8_t(raw[i]) | (uint8_t(raw[i + 1]) << 8)));
    } else {
        size_t start = raw.size() >= 3 && raw.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
        if (!Utf8ToUtf16(raw.substr(start), &text)) return false;
    }
    const std::vector<std::u16string> lines = LogicalLines(text);
    size_t i = 0;
    while (i < lines.size() && lines[i].empty()) ++i;
    if (i == lines.size() || lines[i] != u"Windows Registry Editor Version 5.00") return false;

    std::map<std::u16string, std::map<std::u16string, RegValue>> keys;
    std::map<std::u16string, RegValue>* current = nullptr;
    for (++i; i < lines.size(); ++i) {
        const std::u16string& line = lines[i];
        size_t b = 0;
        while (b < line.size() && (line[b] == u' ' || line[b] == u'\t')) ++b;
        if (b == line.size() || line[b] == u';') continue;
        if (line[b] == u'[') {
            const size_t close = line.rfind(u']');
            if (close == std::u16string::npos || close <= b + 1) return false;
            const std::u16string key = line.substr(b + 1, close - b - 1);
            if (key[0] == u'-') return false;
            current = &keys[FoldKey(key)];
            continue;
        }
        if (!current) return false;
        std::u16string name;
        size_t pos = b;
        if (line[pos] == u'@') {
            ++pos;
        } else if (!QuotedString(line, &pos, &name)) {
            return false;
        }
        if (pos >= line.size() || line[pos] != u'=') return false;
        RegValue v;
        if (!ParseData(line.substr(pos + 1), &v)) return false;
        (*current)[Fold(name)] = std::move(v);
    }
    keys_ = std::move(keys);
    return true;
}

bool RegFile::Load(const std::string& path) {
    keys_.clear();
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::ostringstream ss;
    ss << in.rdbuf();
    return Parse(ss.str());
}

bool RegFile::HasKey(const std::u16string& key) const { return keys_.count(FoldKey(key)) != 0; }

const RegValue* RegFile::Find(const std::u16string& key, const std::u16string& name) const {
    const auto k = keys_.find(FoldKey(key));
    if (k == keys_.end()) return nullptr;
    const auto v = k->second.find(Fold(name));
    return v == k->second.end() ? nullptr : &v->second;
}

}  // namespace tessiva::platform
