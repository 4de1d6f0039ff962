// The UTF-16 report stream and the text conversions: a validating UTF-8 decoder, the UTF-8 encoder
// used for printing, and byte counts as text.
#include "quorcore/strings.h"

#include <algorithm>
#include <cstring>

namespace quorcore {

UTF16StringStream::UTF16StringStream() = default;
UTF16StringStream::~UTF16StringStream() = default;

UTF16StringStream& UTF16StringStream::operator<<(const UTF16String& text) {
    text_ += text;
    return *this;
}

UTF16StringStream& UTF16StringStream::operator<<(const char16_t* text) {
    if (text != nullptr) text_ += text;
    return *this;
}

UTF16StringStream& UTF16StringStream::operator<<(UTF16StringStream& (*manipulator)(UTF16StringStream&)) {
    return manipulator != nullptr ? manipulator(*this) : *this;
}

UTF16StringStream& UTF16StringStream::EndLine() {
    text_ += u'\n';
    return *this;
}

const UTF16String& UTF16StringStream::Str() const { return text_; }

UTF16String UTF16StringStream::Take() {
    UTF16String text;
    text.swap(text_);
    return text;
}

bool UTF16StringStream::Empty() const { return text_.empty(); }

UTF16StringStream& EndOfLine(UTF16StringStream& stream) { return stream.EndLine(); }

namespace utility {

namespace {

constexpr char16_t kReplacement = 0xFFFD;

// What a byte can start: the length of its sequence (0 when it cannot lead one) and the range
// the second byte must fall in. Narrowing the second byte is what rejects overlong forms
// (E0, F0), surrogates (ED) and values above U+10FFFF (F4) at the earliest possible byte.
struct Lead {
    std::size_t length;
    unsigned char low, high;
};

Lead ClassifyLead(unsigned char b) {
    if (b < 0x80) return {1, 0, 0};
    if (b < 0xC2) return {0, 0, 0};  // continuation bytes and the overlong leads C0, C1
    if (b < 0xE0) return {2, 0x80, 0xBF};
    if (b == 0xE0) return {3, 0xA0, 0xBF};
    if (b == 0xED) return {3, 0x80, 0x9F};
    if (b < 0xF0) return {3, 0x80, 0xBF};
    if (b == 0xF0) return {4, 0x90, 0xBF};
    if (b < 0xF4) return {4, 0x80, 0xBF};
    if (b == 0xF4) return {4, 0x80, 0x8F};
    return {0, 0, 0};
}

void AppendUTF16(UTF16String& out, char32_t cp) {
    if (cp < 0x10000) {
        out += static_cast<char16_t>(cp);
        return;
    }
    cp -= 0x10000;
    out += static_cast<char16_t>(0xD800 + (cp >> 10));
    out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
}

void AppendUTF8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

bool IsHighSurrogate(char32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool IsLowSurrogate(char32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

__extension__ typedef unsigned __int128 Wide;

}  // namespace

UTF16String AsciiToUTF16(const char* text) {
    UTF16String out;
    if (text == nullptr) return out;
    for (; *text != '\0'; ++text) {
        const auto b = static_cast<unsigned char>(*text);
        out += b < 0x80 ? static_cast<char16_t>(b) : kReplacement;
    }
    return out;
}

UTF16String UTF8to16(const char* text) {
    return text == nullptr ? UTF16String() : UTF8to16(text, std::strlen(text));
}

UTF16String UTF8to16(const std::string& text) { return UTF8to16(text.data(), text.size()); }

UTF16String UTF8to16(const char* data, std::size_t size) {
    UTF16String out;
    if (data == nullptr) return out;
    out.reserve(size);
    const auto* bytes = reinterpret_cast<const unsigned char*>(data);
    std::size_t i = 0;
    while (i < size) {
        const Lead lead = ClassifyLead(bytes[i]);
        if (lead.length <= 1) {
            out += lead.length == 1 ? static_cast<char16_t>(bytes[i]) : kReplacement;
            ++i;
            continue;
        }
        char32_t cp = bytes[i] & (0x7F >> lead.length);
        std::size_t n = 1;  // bytes of the sequence accepted so far
        for (; n < lead.length && i + n < size; ++n) {
            const unsigned char c = bytes[i + n];
            const unsigned char low = n == 1 ? lead.low : 0x80;
            const unsigned char high = n == 1 ? lead.high : 0xBF;
            if (c < low || c > high) break;
            cp = (cp << 6) | (c & 0x3F);
        }
        // A sequence cut short (by a bad byte or by the end of the input) is one maximal invalid
        // subpart: one replacement for all of it, and decoding resumes at the byte that broke it.
        if (n == lead.length) {
            AppendUTF16(out, cp);
        } else {
            out += kReplacement;
        }
        i += n;
    }
    return out;
}

std::string UTF16to8(const UTF16String& text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t cp = text[i];
        if (IsHighSurrogate(cp) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (text[++i] - 0xDC00);
        } else if (IsHighSurrogate(cp) || IsLowSurrogate(cp)) {
            cp = kReplacement;
        }
        AppendUTF8(out, cp);
    }
    return out;
}

UTF16String NumberToMemoryString(std::int64_t number, int decimals, bool decimalUnits) {
    // The magnitude in unsigned arithmetic, where INT64_MIN has one.
    const std::uint64_t magnitude =
        number < 0 ? 0 - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
    std::string text = number < 0 ? "-" : "";
    const std::uint64_t base = decimalUnits ? 1000 : 1024;
    if (magnitude < base) return AsciiToUTF16((text + std::to_string(magnitude) + " B").c_str());

    static const char* const kBinaryUnits[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
    static const char* const kDecimalUnits[] = {"kB", "MB", "GB", "TB", "PB", "EB"};
    constexpr int kLastUnit = 5;
    decimals = std::clamp(decimals, 0, 18);
    Wide scale = 1;  // 10^decimals
    for (int d = 0; d < decimals; ++d) scale *= 10;

    // Fixed-point in 128 bits: magnitude * 10^decimals / divisor, rounded half up, is exact for
    // every input (printing a double would round ties to even and lose low digits).
    int unit = 0;
    Wide divisor = base;
    while (unit < kLastUnit && magnitude / divisor >= base) {
        divisor *= base;
        ++unit;
    }
    const auto scaled = [&](Wide d) { return (static_cast<Wide>(magnitude) * scale + d / 2) / d; };
    Wide value = scaled(divisor);
    if (value >= base * scale && unit < kLastUnit) {  // rounding reached the next unit
        divisor *= base;
        ++unit;
        value = scaled(divisor);
    }

    text += std::to_string(static_cast<std::uint64_t>(value / scale));
    if (decimals > 0) {
        std::string fraction = std::to_string(static_cast<std::uint64_t>(value % scale));
        text += '.';
        text.append(static_cast<std::size_t>(decimals) - fraction.size(), '0');
        text += fraction;
    }
    text += ' ';
    text += decimalUnits ? kDecimalUnits[unit] : kBinaryUnits[unit];
    return AsciiToUTF16(text.c_str());
}

}  // namespace utility
}  // namespace quorcore
