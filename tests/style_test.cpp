#include <gtest/gtest.h>
#include <tinyxml.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "Camera.h"
#include "ImageAdjust.h"
#include "SensorConfig.h"
#include "SensorFile.h"

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
    /// The text as TinyXML itself saves it.
    std::string saved(const std::string& xml) {
        TiXmlDocument document;
        document.Parse(xml.c_str(), nullptr, TIXML_ENCODING_UTF8);
        document.SaveFile((root + "/tmp/saved.xml").c_str());
        return read("/tmp/saved.xml");
    }
};

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

TEST_F(Style, HostileTextsAreRefusedAndReported) {
    std::string deep;
    std::string fooled;
    for (int i = 0; i < 65; ++i) {
        deep.insert(0, "<a>").append("</a>");
        fooled += "<a><!--</a>--><![CDATA[</a>]]><?xml version='</a>'?>";
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
        "<s>\xed\xa0\x80</s>",
        "<s><t></s>",
        deep,
        fooled,
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
