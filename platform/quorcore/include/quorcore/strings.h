// UTF-16 text, the stream the debug monitor collects reports into, and text conversions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "quorcore/export.h"

namespace quorcore {

using UTF16String = std::u16string;

// An append-only UTF-16 text buffer: written piece by piece, read whole.
class QUORCORE_API UTF16StringStream {
public:
    UTF16StringStream();
    ~UTF16StringStream();
    UTF16StringStream(const UTF16StringStream&) = delete;
    UTF16StringStream& operator=(const UTF16StringStream&) = delete;

    UTF16StringStream& operator<<(const UTF16String& text);
    UTF16StringStream& operator<<(const char16_t* text);  // null writes nothing
    UTF16StringStream& operator<<(UTF16StringStream& (*manipulator)(UTF16StringStream&));

    // Appends the end-of-line sequence (a single U+000A).
    UTF16StringStream& EndLine();

    const UTF16String& Str() const;  // everything written so far
    UTF16String Take();              // moves the text out and leaves the stream empty
    bool Empty() const;

private:
    UTF16String text_;
};

// Manipulator form of EndLine: stream << text << quorcore::EndOfLine.
QUORCORE_API UTF16StringStream& EndOfLine(UTF16StringStream& stream);

namespace utility {

// Widens 7-bit ASCII; bytes above 0x7F become U+FFFD. Null gives an empty string.
QUORCORE_API UTF16String AsciiToUTF16(const char* text);

// Decodes UTF-8. Malformed input (bad lead or continuation bytes, truncated sequences, overlong
// forms, surrogate code points, values above U+10FFFF) becomes U+FFFD, one per maximal invalid
// subpart; code points above U+FFFF become surrogate pairs. Null gives an empty string.
QUORCORE_API UTF16String UTF8to16(const char* text);
QUORCORE_API UTF16String UTF8to16(const char* data, std::size_t size);
QUORCORE_API UTF16String UTF8to16(const std::string& text);

// Encodes UTF-16 as UTF-8 (unpaired surrogates become U+FFFD), for printing.
QUORCORE_API std::string UTF16to8(const UTF16String& text);

// A byte count as text: below 1024 (1000 for decimal units) in magnitude "<n> B"; else scaled by
// the largest power of 1024 (or of 1000 when decimalUnits is true) that keeps the magnitude at
// least 1, printed with `decimals` digits after the point (clamped to 0..18), rounded half away
// from zero, and the unit "KB", "MB", "GB", "TB", "PB", "EB" (or "kB", "MB", ... for decimal
// units). When rounding reaches 1024 (1000) of a unit the next unit is used instead:
// NumberToMemoryString(1048575, 2, false) is "1.00 MB", not "1024.00 KB". Negative numbers keep
// their sign: NumberToMemoryString(-1, 2, false) is "-1 B", NumberToMemoryString(16777216, 2,
// false) is "16.00 MB", NumberToMemoryString(1536, 1, false) is "1.5 KB".
QUORCORE_API UTF16String NumberToMemoryString(std::int64_t number, int decimals, bool decimalUnits);

}  // namespace utility
}  // namespace quorcore
