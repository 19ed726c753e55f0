#include "Schema.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "host/Text.h"

namespace onvif {
namespace {

struct Namespace {
    const char* prefix;
    const char* uri;
};
constexpr Namespace kNamespaces[] = {
    {"s", "http://www.w3.org/2003/05/soap-envelope"},
    {"tt", "http://www.onvif.org/ver10/schema"},
    {"tds", "http://www.onvif.org/ver10/device/wsdl"},
    {"trt", "http://www.onvif.org/ver10/media/wsdl"},
    {"timg", "http://www.onvif.org/ver20/imaging/wsdl"},
    {"ter", "http://www.onvif.org/ver10/error"},
};

bool isWord(const std::string& text, const char* words) {
    std::istringstream list(words);
    std::string word;
    while (list >> word) {
        if (word == text) {
            return true;
        }
    }
    return false;
}

bool fits(const std::string& text, const Shape& shape) {
    char* end = nullptr;
    switch (shape.content) {
        case Content::Elements:
            return text.empty();
        case Content::Text:
            return true;
        case Content::Int:
            std::strtol(text.c_str(), &end, 10);
            return !text.empty() && *end == '\0';
        case Content::Float:
            std::strtod(text.c_str(), &end);
            return !text.empty() && *end == '\0' && std::isalpha(text.back()) == 0;
        case Content::Bool:
            return text == "true" || text == "false";
        case Content::Duration:
            return text.size() > 2 && text[0] == 'P';
        case Content::Words:
            return isWord(text, shape.words);
    }
    return false;
}

bool writeAttributes(const Element& element, const Shape& shape, std::string& xml,
                     std::string& problem) {
    std::size_t written = 0;
    for (std::size_t i = 0; i < shape.attributeCount; ++i) {
        const Attribute& attribute = shape.attributes[i];
        const auto given =
            std::find_if(element.attributes.begin(), element.attributes.end(),
                         [&attribute](const auto& one) { return one.first == attribute.name; });
        const bool there = given != element.attributes.end();
        if ((attribute.required && !there) || (there && !fits(given->second, *attribute.shape))) {
            problem = element.name + " @" + attribute.name;
            return false;
        }
        if (there) {
            xml += ' ' + given->first + "=\"" + escapedXml(given->second) + '"';
            ++written;
        }
    }
    problem = written == element.attributes.size() ? "" : element.name + " has a strange attribute";
    return problem.empty();
}

bool countFits(std::size_t count, Count wanted) {
    switch (wanted) {
        case Count::One:
            return count == 1;
        case Count::Optional:
            return count <= 1;
        case Count::Some:
            return count >= 1;
        case Count::Any:
            break;
    }
    return true;
}

bool writeChildren(const Element& element, const Shape& shape, std::string& xml,
                   std::string& problem) {
    std::size_t written = 0;
    for (std::size_t i = 0; i < shape.partCount; ++i) {
        const Part& part = shape.parts[i];
        std::size_t count = 0;
        for (const Element& child : element.children) {
            if (child.name != part.name) {
                continue;
            }
            ++count;
            if (!write(child, shape.prefix, *part.shape, xml, problem)) {
                problem.insert(0, element.name + "/");
                return false;
            }
        }
        if (!countFits(count, part.count)) {
            problem = element.name + " with " + std::to_string(count) + " of " + part.name;
            return false;
        }
        written += count;
    }
    problem = written == element.children.size() ? "" : element.name + " has a strange child";
    return problem.empty();
}

} // namespace

Element& Element::add(const std::string& childName, const std::string& childText) {
    children.push_back({childName, childText, {}, {}});
    return children.back();
}

Element& Element::at(const std::string& path) {
    const std::string::size_type slash = path.find('/');
    const std::string first = path.substr(0, slash);
    const auto found = std::find_if(children.begin(), children.end(),
                                    [&first](const Element& one) { return one.name == first; });
    Element& child = found != children.end() ? *found : add(first);
    return slash == std::string::npos ? child : child.at(path.substr(slash + 1));
}

Element& Element::with(const std::string& attribute, const std::string& value) {
    attributes.emplace_back(attribute, value);
    return *this;
}

const char* prefixOf(Service service) {
    return service == Service::Device ? "tds" : service == Service::Media ? "trt" : "timg";
}

const char* namespaceOf(const std::string& prefix) {
    for (const Namespace& one : kNamespaces) {
        if (prefix == one.prefix) {
            return one.uri;
        }
    }
    return "";
}

bool write(const Element& element, const std::string& prefix, const Shape& shape, std::string& xml,
           std::string& problem) {
    const std::string name = prefix.empty() ? element.name : prefix + ':' + element.name;
    xml += '<' + name;
    if (!writeAttributes(element, shape, xml, problem)) {
        return false;
    }
    xml += '>';
    if (!fits(element.text, shape)) {
        problem = element.name + " is '" + element.text + "'";
        return false;
    }
    xml += escapedXml(element.text);
    if (!writeChildren(element, shape, xml, problem)) {
        return false;
    }
    xml += "</" + name + '>';
    return true;
}

std::string escapedXml(const std::string& text) {
    std::string result;
    for (const char c : host::asUtf8(text)) {
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                if (static_cast<unsigned char>(c) >= 0x20 || c == '\n' || c == '\t') {
                    result += c;
                }
        }
    }
    return result;
}

std::string floatText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
}

} // namespace onvif
