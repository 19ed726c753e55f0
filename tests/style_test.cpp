#include <gtest/gtest.h>
#include <sys/mman.h>
#include <tinyxml.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "Camera.h"
#include "ImageAdjust.h"
#include "SensorFile.h"
#include "SensorModuleConfig.h"
#include "SensorWdrFlag.h"

namespace {

class Style : public Camera {
protected:
    std::string merge(const std::string& style, const std::string& rules,
                      const std::string& detail) {
        ModuleConfig config = {};
        strncpy(config.szDetail, detail.c_str(), sizeof config.szDetail - 1);
        char* text = strdup(style.c_str());
        std::string copy = rules;
        EXPECT_EQ(0, mergeStyle(&config, &text, copy.data()));
        std::string merged = text;
        free(text);
        EXPECT_EQ(merged, read("/tmp/merge_style.xml"));
        return merged;
    }
    /// The text as TinyXML itself saves it; empty when it finds an error. TinyXML steps over the
    /// end of a text that ends within a character, so it gets one that ends in several zeros.
    static std::string saved(const std::string& xml) {
        TiXmlDocument document;
        document.Parse((xml + std::string(4, '\0')).c_str(), nullptr, TIXML_ENCODING_UTF8);
        return document.Error() ? "" : print(document);
    }
    static std::string print(const TiXmlDocument& document) {
        char* text = nullptr;
        size_t size = 0;
        FILE* stream = open_memstream(&text, &size);
        EXPECT_TRUE(document.SaveFile(stream));
        fclose(stream);
        const std::string result(text, size);
        free(text);
        return result;
    }
};

/// One rule, the plain way.
void applyByScan(TiXmlElement* root, const TiXmlElement& rule) {
    const std::string op = rule.Value();
    const char* key = rule.Attribute("tab_key");
    TiXmlElement* tab = key ? root->FirstChildElement() : nullptr;
    while (tab && !(tab->Attribute("key") && std::string(tab->Attribute("key")) == key))
        tab = tab->NextSiblingElement();
    const bool adds = op == "Modify" || op == "AddAfter";
    if (tab == nullptr || (adds && rule.FirstChildElement() == nullptr))
        return;
    if (adds)
        root->InsertAfterChild(tab, *rule.FirstChildElement());
    if (op == "Modify" || op == "Delete")
        root->RemoveChild(tab);
}

TEST_F(Style, IsMergedByTheRulesThatApply) {
    const std::string style =
        "<s><t key='a' n='1'/><t key='b'>x<i>y</i>z</t><t key='a' n='2'/></s>";
    const struct {
        const char* rules;
        const char* detail;
        const char* merged;
    } table[] = {
        {"<r f='1'><Delete tab_key='b'/></r>", "(f=1)",
         "<s><t key='a' n='1'/><t key='a' n='2'/></s>"},
        {"<r f='1'><Delete tab_key='b'/></r>", "(f=0)", nullptr},
        {"<r f='1'><Delete tab_key='b'/></r>", "(f=1", nullptr},
        {"<r f='1'><Delete tab_key='b'/></r>", "(f=)",
         "<s><t key='a' n='1'/><t key='a' n='2'/></s>"},
        // A value is compared whole, however long.
        {"<r f='123456789'><Delete tab_key='b'/></r>", "(f=1234567890)", nullptr},
        {"<r g='1' f='0,12345678901,2'><Delete tab_key='b'/></r>", "(f=12345678901)",
         "<s><t key='a' n='1'/><t key='a' n='2'/></s>"},
        {"<r f='1'><Modify tab_key='a'><n key='c'/></Modify></r><r f='1'><AddAfter tab_key='c'><m/>"
         "</AddAfter></r>",
         "(f=1)", "<s><n key='c'/><m/><t key='b'>x<i>y</i>z</t><t key='a' n='2'/></s>"},
        {"<r f='1'><Modify tab_key='a'/><AddAfter/><Delete/><delete tab_key='b'/></r>", "(f=1)",
         nullptr},
        {"<r><Delete tab_key='b'/></r>", "(f=1)", nullptr},
    };
    for (const auto& row : table) {
        std::string result;
        EXPECT_EQ("", output([&] { result = merge(style, row.rules, row.detail); })) << row.rules;
        EXPECT_EQ(saved(row.merged ? row.merged : style), result) << row.rules << row.detail;
    }
    EXPECT_EQ(
        "[sensor assert] file:SensorFile.cpp fun:mergeStyle line:0\n"
        "NULL != (node_second = node_first->FirstChildElement())   ~~~Assertion failed.\n",
        output([&] { merge(style, "<r f='1'/>", "(f=1)"); }));
    EXPECT_EQ(
        "[sensor assert] file:SensorFile.cpp fun:updateStyleTab line:0\n"
        "NULL != (tab_node = doc_style->RootElement()->FirstChildElement())   ~~~Assertion "
        "failed.\n",
        output([&] { merge("<s/>", "<r f='1'><Delete tab_key='a'/></r>", "(f=1)"); }));
}

/// However many tabs share a key, and wherever rules put new ones.
TEST_F(Style, IsMergedAsByAWalkForEveryRule) {
    Random random(13);
    const auto attribute = [&random](const char* name) {
        const unsigned int key = random(5);
        return key == 4 ? std::string() : std::string(name) + "='" + "abcd"[key] + "' ";
    };
    int tabs = 0;
    const auto number = [&tabs] { return "n='" + std::to_string(++tabs) + "'/>"; };
    for (int round = 0; round < 100; ++round) {
        std::string style = "<s>";
        for (unsigned int n = random(8); n > 0; --n)
            style += random(4) == 0 ? "<!--c-->" : "<t " + attribute("key") + number();
        std::string rules = "<r f='1'>";
        for (unsigned int n = random(round % 10 == 0 ? 1000 : 30); n > 0; --n) {
            const char* const ops[] = {"AddAfter", "AddAfter", "AddAfter", "Modify", "Delete", "x"};
            const std::string op = ops[random(6)];
            rules += "<" + op + " " + attribute("tab_key") + ">";
            rules += random(10) == 0 ? "" : "<t " + attribute("key") + number();
            rules += "</" + op + ">";
        }
        TiXmlDocument expected;
        TiXmlDocument parsedRules;
        expected.Parse((style += "</s>").c_str());
        parsedRules.Parse((rules += "</r>").c_str());
        for (const TiXmlElement* rule = parsedRules.RootElement()->FirstChildElement(); rule;
             rule = rule->NextSiblingElement())
            applyByScan(expected.RootElement(), *rule);
        std::string merged;
        output([&] { merged = merge(style, rules, "(f=1)"); });
        ASSERT_EQ(print(expected), merged) << style << '\n' << rules;
    }
}

#if defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
constexpr size_t kLargeText = 1 << 17; // their strstr looks at the whole text every time
#else
constexpr size_t kLargeText = 1 << 20;
#endif

/// A walk over the tabs for every rule would take minutes. The limit is for emulators.
TEST_F(Style, AMegabyteOfRulesOnAMegabyteOfTabsIsMergedAtOnce) {
    /// Repeats a piece of a text; # is a number of its own.
    const auto fill = [](const std::string& piece, size_t size = kLargeText - 50) {
        std::string text;
        const size_t at = piece.find('#');
        for (int n = 100000; text.size() + piece.size() + 5 < size; ++n)
            text += at == std::string::npos ? piece
                                            : std::string(piece).replace(at, 1, std::to_string(n));
        return text;
    };
    const std::string half = fill("<t key='b'/>", kLargeText / 2 - 50);
    const struct {
        std::string tabs;
        std::string rules;
    } table[] = {
        {fill("<t key='#'/>"), fill("<Delete tab_key='#'/>")},
        {fill("<t/>") + "<t key='a'/>", fill("<AddAfter tab_key='a'><t key='#'/></AddAfter>")},
        {fill("<t key='b'/>"), fill("<Modify tab_key='b'><t key='a'/></Modify>")},
        {half + "<t key='a'/>" + half,
         fill("<AddAfter tab_key='a'><t key='b'/></AddAfter><Delete tab_key='b'/>")},
        {fill("<!---->") + "<t key='a'/>", fill("<Modify tab_key='a'><t key='a'/></Modify>")},
    };
    for (const auto& row : table) {
        std::string merged;
        const clock_t before = clock();
        EXPECT_EQ("", output([&] {
                      merged = merge("<s>" + row.tabs + "</s>", "<r f='1'>" + row.rules + "</r>",
                                     "(f=1)");
                  }));
        EXPECT_LT(clock() - before, 20 * CLOCKS_PER_SEC) << row.rules.substr(0, 70);
    }
}

/// Whatever bytes there are, and without a look behind the end of the text.
TEST_F(Style, EveryTextThatTheParserTakesIsTaken) {
    setDebugLevel(-1);
    setshowWDRFalg(false);
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    char* const pages = static_cast<char*>(
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_EQ(0, mprotect(pages + page, page, PROT_NONE));
    Random random(12);
    const auto noise = [&random] {
        std::string text;
        for (unsigned int n = random(5); n > 0; --n)
            text += "\xc1\xc3\xe0\xf0\xf4\xff\x80\xef\xbb\xbf'\"<>/-] &;#ab"[random(23)];
        return text;
    };
    int taken = 0;
    constexpr int kTexts = 10000;
    for (int round = 0; round < kTexts; ++round) {
        std::string text = "<s>";
        for (unsigned int n = random(4); n > 0; --n) {
            switch (random(6)) {
                case 0:
                    text += "<a b='" + noise() + "'/>";
                    break;
                case 1:
                    text += "<a" + noise() + ">" + noise() + "</a>";
                    break;
                case 2:
                    text += "<!--" + noise() + "-->";
                    break;
                case 3:
                    text += "<![CDATA[" + noise() + "]]>";
                    break;
                case 4:
                    text += "<?xml version='" + noise() + "'?>";
                    break;
                default:
                    text += noise();
                    break;
            }
        }
        text += random(8) == 0 ? noise() : "</s>" + (random(8) == 0 ? noise() : "");
        char* const copy = pages + page - text.size() - 1;
        memcpy(copy, text.c_str(), text.size() + 1);
        std::string result;
        getDnaStyle(copy, result);
        const std::string expected = saved(text);
        ASSERT_EQ(expected, result) << text;
        taken += !expected.empty();
    }
    EXPECT_GT(taken, kTexts / 10);
    EXPECT_LT(taken, kTexts - kTexts / 10);
    munmap(pages, 2 * page);
}

TEST_F(Style, MayGrowBeyondTheLimitInTheMerge) {
    std::string style = "<s><c id='34' value='5'/>";
    for (int i = 0; i < 60; ++i)
        style += "<a>";
    for (int i = 0; i < 8000; ++i)
        style += "<b/>";
    for (int i = 0; i < 60; ++i)
        style += "</a>";
    std::string merged = merge(style + "</s>", "<r/>", "");
    EXPECT_LT(1u << 20, merged.size());
    KeyVal values[SENSOR_KEYVAL_MAX];
    u32 count = 0;
    EXPECT_EQ("", output([&] { getFctData(merged.data(), values, &count); }));
    EXPECT_EQ(1u, count);
}

TEST_F(Style, HostileTextsAreRefusedAndReported) {
    std::string deep;
    std::string fooled;
    std::string swallowed;
    std::string closing;
    for (int i = 0; i < 65; ++i) {
        deep.insert(0, "<a>").append("</a>");
        closing += "</a>";
        fooled += "<a><!--</a>--><![CDATA[</a>]]><?xml version='</a>'?>";
        // What a character takes along with it ends no value and no element.
        swallowed += i % 2 != 0 ? "<a b='\xe0'/>'>" : "<a>\xe0</a>";
    }
    std::string attributes = "<s";
    for (int i = 0; i < 65; ++i)
        attributes += " a" + std::to_string(i) + "='1'";
    const std::string table[] = {
        "",
        "x",
        "<s>",
        "<s",
        "<s a='1",
        "<s a=1' b='>",
        "<s>\xc3",
        "\xe0\x80\x80",
        "<s><t></s>",
        deep,
        fooled + closing,
        swallowed + closing,
        attributes + "/>",
        "<s>" + std::string(1 << 20, ' ') + "</s>",
    };
    for (const std::string& text : table) {
        std::string merged = "?";
        EXPECT_EQ(
            "[sensor assert] file:SensorFile.cpp fun:mergeStyle line:0\n"
            "doc_style.LoadMem(*ui_style, TIXML_ENCODING_UTF8)   ~~~Assertion failed.\n"
            "[sensor assert] file:SensorFile.cpp fun:mergeStyle line:0\n"
            "loadFromFile(\"/tmp/merge_style.xml\", *ui_style, file_len) > 0   ~~~Assertion "
            "failed.\n",
            output([&] { merged = merge(text, "<r/>", ""); }))
            << text.substr(0, 40);
        EXPECT_EQ("", merged);
    }
    EXPECT_NE("", merge(deep.substr(3, deep.size() - 7), "<r/>", "")); // 64 levels pass
}

TEST_F(Style, IsPrunedByWhatTheSensorTakes) {
    const std::string controls =
        "<s><c id='0' value='9'/><g><c id='49' value='2'><i index='1'/><i index='2'/>"
        "</c><c id='34' value='5'/></g><c id='34' value='7'/><c id='x' value='3'/></s>";
    const struct {
        unsigned int cmd;
        int defaultValue;
        std::vector<int> items;
        bool wdr;
        const char* pruned;
    } table[] = {
        {34,
         8,
         {8},
         false,
         "<s><c id='0' value='9'/><g><c id='49' value='2'><i index='1'/><i index='2'/></c>"
         "<c id='34' value='8'/></g><c id='34' value='8'/><c id='x' value='3'/></s>"},
        // The shutter keeps its 2; the last element whose id reads as 0 goes.
        {49,
         1,
         {1, 2},
         true,
         "<s><c id='0' value='9'/><g><c id='49' value='2'><i index='1'/><i index='2'/></c>"
         "<c id='34' value='5'/></g><c id='34' value='7'/></s>"},
        {49,
         3,
         {3},
         false,
         "<s><c id='0' value='9'/><g><c id='49' value='3'/><c id='34' value='5'/></g>"
         "<c id='34' value='7'/><c id='x' value='3'/></s>"},
    };
    for (const auto& row : table) {
        simulated_ia::reset();
        ASSERT_TRUE(simulated_ia::limit(row.cmd, row.defaultValue, row.items));
        setshowWDRFalg(row.wdr);
        std::string pruned = "before";
        output([&] { EXPECT_EQ(0, getDnaStyle(controls.c_str(), pruned)); });
        EXPECT_EQ(saved(row.pruned), pruned);
    }
    setshowWDRFalg(true);
    simulated_ia::reset();
    simulated_ia::limit(49, 3, {1, 3});
    std::string pruned;
    EXPECT_EQ(
        "dnaCmdList.cmd_list[0] = dnaParamList.items_cnt(2)\n"
        " dnaParamList.item[0] = 1 nVal = 2 \n dnaParamList.item[1] = 3 nVal = 2 \n"
        "[sensor assert] file:SensorFile.cpp fun:getDnaStyle line:0\n"
        "SNS_SUCCESS == doDnaStyle(objStyleXmlDoc.RootElement(), dnaCmdList.cmd_list[i], "
        "&dnaParamList)   ~~~Assertion failed.\n",
        output([&] {
            getDnaStyle("<c><c id='49' value='2'><i index='2'/><i/><i index='2'/></c></c>", pruned);
        }));
    EXPECT_EQ(saved("<c><c id='49' value='3'><i/><i index='2'/></c></c>"), pruned);
    for (const int count : {-1, 17, 65, 2147483647}) {
        simulated_ia::setLie({true, count, count, false});
        output([&] { getDnaStyle(controls.c_str(), pruned); });
    }
}

TEST_F(Style, GivesTheFactoryValuesInDocumentOrder) {
    const auto factory = [](std::string style) {
        KeyVal values[SENSOR_KEYVAL_MAX + 1];
        values[SENSOR_KEYVAL_MAX] = {77, 77};
        u32 count = 9;
        EXPECT_EQ(0, getFctData(style.data(), values, &count));
        EXPECT_EQ(77u, values[SENSOR_KEYVAL_MAX].key);
        std::string text;
        for (u32 i = 0; i < count; ++i)
            text += std::to_string(static_cast<int>(values[i].key)) + '=' +
                    std::to_string(static_cast<int>(values[i].value)) + ' ';
        return text;
    };
    EXPECT_EQ("1=2 3=0 5=-3 6=0 7=2147483647 ",
              factory("<a id='1' value='2'><b id='2'><c id='3' value=''/></b><d value='4'/>"
                      "<c id='5' value='-3x'><i index='1' id='6' value='abc'/></c>"
                      "<c id='7' value='99999999999'/></a>"));
    std::string many = "<a>";
    for (int i = 0; i < 101; ++i)
        many += "<c id='1' value='1'/>";
    EXPECT_EQ(
        "[sensor assert] file:SensorFile.cpp fun:getFctData line:0\n"
        "SNS_SUCCESS == style2KeyVal(pRootNode, p_pKeyVal, p_pnKeyValNum)   ~~~Assertion failed.\n"
        "p_pnKeyValNum(100)\n",
        output([&] { EXPECT_EQ(400u, factory(many + "</a>").size()); }));
}

} // namespace
