#pragma once

#include <string>

#include "Client.h"

/// Pieces of documents as people read them.
namespace imgctl {

/// The text of a member, "" where it is missing or null.
std::string textOf(const Json& object, const char* member);

/// The number of a member as text; otherwise where it is missing or null.
std::string numberOf(const Json& object, const char* member, const char* otherwise = "-");

/// A value by its name and number: "manual (1)", "60"; "-" where there is none.
std::string valueOf(const Json& object, const char* number, const char* name);

/// "0..255", "0..100 in steps of 5", "40,50,60"; "-" without a range.
std::string rangeOf(const Json& range);

/// The elements of a list, ", " between them.
std::string listOf(const Json& list);

/// A text in a column of at least so many characters, two blanks behind it.
std::string column(const std::string& text, std::size_t width);

/// The same with the blanks in front.
std::string rightColumn(const std::string& text, std::size_t width);

/// A number that was typed becomes a number, the nearest that fits 32 bits; a name stays one.
Json typedValue(const std::string& text);

} // namespace imgctl
