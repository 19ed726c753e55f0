#include "SensorFile.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "DKFile.h"
#include "DetailField.h"
#include "SensorConfig.h"
#include "SensorReport.h"
#include "SensorXml.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::SensorFile;
constexpr char kMergedStyleFile[] = "/tmp/merge_style.xml";

/// For whoever wants to look at the merged style on the device; nothing reads it back, so a failure
/// costs nothing.
void writeMergedStyle(const std::string& text) {
    DKFile file;
    if (!file.open(kMergedStyleFile, DKFile::modeWrite | DKFile::modeTruncate))
        return;
    file.write(text.data(), static_cast<u32>(text.size()));
    file.close();
}

/// Puts a text into a malloc'd buffer of its length. @return false when there is no memory for it
bool replaceBuffer(char** buffer, const std::string& text) {
    char* grown = static_cast<char*>(realloc(*buffer, text.size() + 1));
    if (grown == nullptr)
        return false;
    memcpy(grown, text.c_str(), text.size() + 1);
    *buffer = grown;
    return true;
}

} // namespace

int mergeStyle(ModuleConfig* moduleConfig, char** ui_style, char* ui_styleDiversity) try {
    XmlDocument doc_style;
    if (!doc_style.LoadMem(*ui_style, TIXML_ENCODING_UTF8))
        REPORT_ASSERTION("doc_style.LoadMem(*ui_style, TIXML_ENCODING_UTF8)");
    XmlDocument doc_style_div;
    if (!doc_style_div.LoadMem(ui_styleDiversity, TIXML_ENCODING_UTF8))
        REPORT_ASSERTION("doc_style_div.LoadMem(ui_styleDiversity, TIXML_ENCODING_UTF8)");

    const TiXmlElement* node_first = doc_style_div.RootElement();
    if (node_first == nullptr)
        REPORT_ASSERTION("NULL != (node_first = doc_style_div.RootElement())");
    for (; node_first != nullptr; node_first = node_first->NextSiblingElement()) {
        const TiXmlAttribute* modi_attr = node_first->FirstAttribute();
        for (; modi_attr != nullptr; modi_attr = modi_attr->Next()) {
            REPORT_DEBUG("modi_attr->Name()(%s), modi_attr->Value()(%s)\n", modi_attr->Name(),
                         modi_attr->Value());
            // As long as the whole text, so that no value is compared cut.
            char nVal[sizeof moduleConfig->szDetail] = {};
            if (getDetailFieldToStr(moduleConfig->szDetail, modi_attr->Name(), nVal, sizeof nVal) ==
                    SNS_SUCCESS &&
                strstr(modi_attr->Value(), nVal) != nullptr)
                break;
            REPORT_DEBUG("modi_attr->Name()(%s), modi_attr->Value()(%s) nVal(%s)\n",
                         modi_attr->Name(), modi_attr->Value(), nVal);
        }
        if (modi_attr == nullptr)
            continue;
        const TiXmlElement* node_second = node_first->FirstChildElement();
        if (node_second == nullptr)
            REPORT_ASSERTION("NULL != (node_second = node_first->FirstChildElement())");
        for (; node_second != nullptr; node_second = node_second->NextSiblingElement()) {
            REPORT_DEBUG("modi_attr->Name()(%s), modi_attr->Value()(%s)\n", modi_attr->Name(),
                         modi_attr->Value());
            updateStyleTab(&doc_style, node_second->Value(), node_second->Attribute("tab_key"),
                           node_second->FirstChildElement());
        }
    }

    std::string text;
    doc_style.getXmlString(text);
    writeMergedStyle(text);
    REPORT_INFORMATION(kColourMagenta, "%s\n", text.c_str());
    const bool replaced = replaceBuffer(ui_style, text);
    if (!replaced || text.empty())
        REPORT_ASSERTION("loadFromFile(\"/tmp/merge_style.xml\", *ui_style, file_len) > 0");
    return SNS_SUCCESS;
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return SNS_SUCCESS;
}

int updateStyleTab(TiXmlDocument* doc_style, const char* op, const char* tab_key,
                   const TiXmlElement* newTab) try {
    TiXmlElement* root = doc_style ? doc_style->RootElement() : nullptr;
    TiXmlElement* tab_node = root ? root->FirstChildElement() : nullptr;
    if (tab_node == nullptr) {
        REPORT_ASSERTION("NULL != (tab_node = doc_style->RootElement()->FirstChildElement())");
        return 0;
    }
    if (op == nullptr || tab_key == nullptr)
        return 0;
    for (; tab_node != nullptr; tab_node = tab_node->NextSiblingElement()) {
        const char* key = tab_node->Attribute("key");
        if (key != nullptr && strcmp(key, tab_key) == 0)
            break;
    }
    if (tab_node == nullptr)
        return 0;
    const bool modify = strcmp(op, "Modify") == 0;
    if (modify || strcmp(op, "AddAfter") == 0) {
        if (newTab == nullptr)
            return 0;
        root->InsertAfterChild(tab_node, *newTab);
    }
    if (modify || strcmp(op, "Delete") == 0)
        root->RemoveChild(tab_node);
    return 0;
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return 0;
}
