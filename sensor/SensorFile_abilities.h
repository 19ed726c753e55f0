#pragma once

class XmlDocument;

/// The work of getDnaStyle without its text: parses a style and prunes it for this sensor. The
/// factory values are read from the pruned tree itself, so that a large style is not printed and
/// parsed once more.
void pruneStyle(const char* szStyle, XmlDocument& objStyleXmlDoc);
