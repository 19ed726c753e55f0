#pragma once

#include <string>

#include <tinyxml.h>

namespace host {

/// Reads a text of the device tree as XML. What is longer than 1 MiB, nests deeper than 64
/// elements, gives one of them more than 64 attributes or is no XML gives an empty document.
/// @return false for such a text
bool parseXml(const std::string& text, TiXmlDocument& document);

/// An attribute, "" where it is missing.
std::string attribute(const TiXmlElement& element, const char* name);

/// An attribute that is a number. @return false where it is missing or no number
bool attribute(const TiXmlElement& element, const char* name, int& value);

/// The text of an element, without the blanks around it.
std::string textOf(const TiXmlElement& element);

} // namespace host
