// Texts and labels come from models and may hold any bytes. These are their forms that can be
// shown.
#ifndef VESK_LTS_PRINTABLE_HPP
#define VESK_LTS_PRINTABLE_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Vesk::Lts {

// Control characters become \n, \t or \x1b, and bytes that are not UTF-8 become \xff. The rest
// stays, so the result is UTF-8 and one line.
std::string printable(std::string_view text);

// Whether all of it is UTF-8; control characters are.
bool isUtf8(std::string_view text);

// The columns that printable UTF-8 takes, one for each character.
std::size_t columns(std::string_view printableText);

// With blanks behind it, or in front of it, up to so many columns; whole when it is wider.
std::string padded(const std::string& printableText, std::size_t width);
std::string rightAligned(std::uint64_t number, std::size_t width);

// Only printable ASCII without the quote: everything else, and the backslash, becomes \x and two
// hexadecimal digits.
std::string hexEscaped(std::string_view text);

// Takes back hexEscaped(), and \" as others write it. Other backslashes stay.
std::string hexUnescaped(std::string_view text);

}  // namespace Vesk::Lts

#endif
