#pragma once

class XmlDocument;

/// What getDnaStyle does, up to the document: parses a style and prunes it for this sensor. The
/// factory values are read from the document, so that a large style is not printed and parsed once
/// more.
void pruneStyle(const char* szStyle, XmlDocument& objStyleXmlDoc);
