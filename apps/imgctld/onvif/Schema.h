#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

/// What ONVIF's answers are made of: each type as a table, and a writer that follows the tables.
/// Clients that were generated from ONVIF's own schema refuse elements in another order, of another
/// type or in another namespace; here nothing can be written that does not follow them.
namespace onvif {

enum class Service { Device, Media, Imaging };

/// An element to be written. Its children stand in any order: those of other names are put in the
/// schema's, those of one name stay in theirs.
struct Element {
    std::string name;
    std::string text;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<Element> children;

    /// Adds a child. @return it, until the next one is added
    Element& add(const std::string& childName, const std::string& childText = {});
    /// The descendant of a path, "Exposure/Mode"; what is missing of the path is made.
    Element& at(const std::string& path);
    Element& with(const std::string& attribute, const std::string& value);
};

// The tables
// ------------------------------------------------------------------------------------------------

enum class Content { Elements, Text, Int, Float, Bool, Duration, Words };
enum class Count { One, Optional, Any, Some };

struct Shape;

/// A child of a type: its name, its type, how often it is there.
struct Part {
    const char* name;
    const Shape* shape;
    Count count;
};

struct Attribute {
    const char* name;
    const Shape* shape;
    bool required;
};

/// A type.
struct Shape {
    Content content = Content::Elements;
    const char* words = "";  ///< of Content::Words: what it may be, between blanks
    const char* prefix = ""; ///< of the children's namespace: "tt", "tds", "trt", "timg"
    const Part* parts = nullptr;
    std::size_t partCount = 0;
    const Attribute* attributes = nullptr;
    std::size_t attributeCount = 0;
};

/// The type of an operation's answer; null: there is no such operation.
const Shape* answerShape(Service service, const std::string& operation);

/// The prefix of a service's own namespace, and the namespace of a prefix.
const char* prefixOf(Service service);
const char* namespaceOf(const std::string& prefix);

/// Writes an element of a type.
/// @param xml      receives it, appended
/// @param problem  receives what does not follow the type
/// @return false then
bool write(const Element& element, const std::string& prefix, const Shape& shape, std::string& xml,
           std::string& problem);

/// A text as it stands in XML; what XML cannot hold is left out.
std::string escapedXml(const std::string& text);

/// A number as a schema's float: "40000", "333333.333".
std::string floatText(double value);

} // namespace onvif
