#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace host {

/// Without the blanks at both ends.
std::string trim(const std::string& text);

/// Cuts a text at runs of blanks into at most that many words; the last one takes the rest.
std::vector<std::string> words(const std::string& text, std::size_t most);

/// Reads a decimal number with an optional sign.
/// @param value  receives it; numbers far beyond 32 bits stay beyond 32 bits, not exact
/// @return false when the text is anything else than such a number
bool readNumber(const std::string& text, long long& value);

/// @return true when the text is a number that fits 32 bits, as a signed number
bool readInt(const std::string& text, int& value);

/// The same for a number from least to most.
bool readIntWithin(const std::string& text, int least, int most, int& value);

/// The name that takes the fewest changes to become the word, "" when none is near.
std::string nearest(const std::string& word, const std::vector<std::string>& names);

/// "; did you mean 'name'?" for the nearest name, "" when none is near.
std::string didYouMean(const std::string& word, const std::vector<std::string>& names);

/// In lower case, with '-' for '_'.
std::string lowered(const std::string& text);

/// Control characters, those from 0x80 to 0x9f too (in UTF-8, or as bytes that are no UTF-8),
/// replaced by a readable form, so that a text is safe on a terminal and one line.
std::string printable(const std::string& text);

/// The same for a text of several lines, whose tabs and line ends stay.
std::string printableLines(const std::string& text);

/// UTF-8 without anything else: each byte that is none, and what is no character, as U+FFFD.
std::string asUtf8(const std::string& text);

/// What a user typed, for an error: quoted, printable, and cut when it is long.
std::string quoted(const std::string& text);

/// A line of a help text: what is typed, and what it does, in columns.
std::string helpLine(const std::string& typed, const std::string& help);

/// A JSON string, quotes included, with control characters escaped.
std::string jsonString(const std::string& text);

} // namespace host
