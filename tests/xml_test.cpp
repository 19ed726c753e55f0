#include "host/Xml.h"

#include <gtest/gtest.h>

namespace {

std::string times(const std::string& text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

/// How deep elements nest in what was taken of a text.
int depthOf(const std::string& text) {
    TiXmlDocument document;
    host::parseXml(text, document);
    int depth = 0;
    for (const TiXmlElement* element = document.RootElement(); element != nullptr; ++depth) {
        element = element->FirstChildElement();
    }
    return depth;
}

/// The parser calls itself for each element inside another one: what only looks like the end of an
/// element must not make room for more of them.
TEST(Xml, NestsNoDeeperThanTheStackIsDeepWhateverStandsBetween) {
    const std::string ends = times("</a>", 9000);
    for (const std::string between :
         {"", "</a", "<!--</a>-->", "<!-- <a/> -- </a> -->", "<![CDATA[</a>]]>", "<!DOCTYPE </a>",
          "<?p </a>?>", "<?xml version=\"?></a>\"?>", "<1 \" </a>", "&lt;/a&gt;"}) {
        EXPECT_LE(depthOf(times("<a>" + between, 9000) + ends), 64) << between;
        EXPECT_LE(depthOf(times(between, 9000) + times("<a>", 9000) + ends), 64) << between;
    }
    for (const std::string attributes : {"", " b='</a>'", " b = \"'>\" c=1", " b='1' "}) {
        const std::string begin = "<a" + attributes + ">";
        EXPECT_EQ(depthOf(times(begin, 9000) + ends), 0) << attributes;
        EXPECT_EQ(depthOf(times(begin, 60) + times("</a>", 60)), 60) << attributes;
    }
    EXPECT_EQ(depthOf("\xef\xbb\xbf<?xml version='1.0'?><?p?><!-- x --><a b='>'><b/></a>"), 2);
}

} // namespace
