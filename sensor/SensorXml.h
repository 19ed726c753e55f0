#pragma once

#include <tinyxml.h>

#include <string>

/// A TinyXML document with the two operations that the library's texts need.
class XmlDocument : public TiXmlDocument {
public:
    /// Nobody asks where in its text an element stood, so the parser need not count lines.
    XmlDocument() { SetTabSize(0); }

    /// Parses a NUL-terminated text. Whatever TinyXML takes is taken, bytes that are no UTF-8
    /// included. Refused is what it could not parse within the small stacks and the time a camera
    /// has: more than 64 levels, more than 64 attributes on an element.
    /// @param text  null counts as a failure
    /// @return true when it was parsed; false otherwise, there is nothing in it then
    bool LoadMem(const char* text, TiXmlEncoding encoding);

    /// Replaces a text by what SaveFile would write.
    void getXmlString(std::string& text) const;
};

/// The decimal number in an attribute.
/// @return false, with number untouched, when the element has no such attribute
bool numberAttribute(const TiXmlElement& element, const char* name, int& number);
