#include "SensorFile.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <set>
#include <string>

#include "DKFile.h"
#include "DetailField.h"
#include "SensorModuleConfig.h"
#include "SensorPaths.h"
#include "SensorReport.h"
#include "SensorXml.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::SensorFile;
constexpr size_t kMaxText = 1u << 20;

/// Only what comes from outside is held to a size: merging may make more of it.
bool loadFromOutside(XmlDocument& document, const char* text) {
    return text != nullptr && strnlen(text, kMaxText + 1) <= kMaxText &&
           document.LoadMem(text, TIXML_ENCODING_UTF8);
}

/// For whoever wants to look at the merged style on the device; nothing reads it back, so a failure
/// costs nothing.
void writeMergedStyle(const std::string& text) {
    DKFile file;
    if (!file.open(sensor_paths::kMergedStyle, DKFile::modeWrite | DKFile::modeTruncate))
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

// Tabs of one key are told apart by where they stand. Every child of the root therefore has a
// place, a number that grows from one to the next, with room between them for those that rules add.
constexpr u32 kFirstGap = 256;
constexpr u32 kPlaceBits = 32;

u32 place(const TiXmlNode* node) {
    return static_cast<u32>(reinterpret_cast<uintptr_t>(node->GetUserData()));
}

void setPlace(TiXmlNode* node, u32 place) {
    node->SetUserData(reinterpret_cast<void*>(static_cast<uintptr_t>(place)));
}

/// Gives a node a place between those of its neighbours. Where there is none left, the nodes around
/// are spread out, in the smallest range that is sparse enough: the wider the range, the sparser it
/// has to be, so that each node is moved a few times at most for every one that is added.
void findPlace(TiXmlNode* node) {
    const TiXmlNode* next = node->NextSibling();
    const u32 low = place(node->PreviousSibling());
    const u32 gap = (next != nullptr ? place(next) : UINT_MAX) - low;
    setPlace(node, low + gap / 2);
    if (gap > 1)
        return;
    TiXmlNode* first = node;
    TiXmlNode* last = node;
    u32 count = 1;
    for (u32 bits = 1;; ++bits) {
        const u32 mask = UINT_MAX >> (kPlaceBits - bits);
        const u32 start = low & ~mask;
        const u32 end = low | mask;
        for (TiXmlNode* p = first->PreviousSibling(); p != nullptr && place(p) >= start;
             p = p->PreviousSibling(), ++count)
            first = p;
        for (TiXmlNode* p = last->NextSibling(); p != nullptr && place(p) <= end;
             p = p->NextSibling(), ++count)
            last = p;
        const u32 full = bits - bits / 4;
        if (count >> full == 0) {
            for (u32 at = start; count > 0; --count, at += 1u << (bits - full)) {
                setPlace(first, at);
                first = first->NextSibling();
            }
            return;
        }
    }
}

/// The tabs of a style by their keys: a rule finds its tab without a walk over all of them, so that
/// many rules on many tabs take no longer than either alone.
class StyleTabs {
public:
    /// @param root  the style's root element, whose children change by update() alone from now on;
    ///              their user data is used. Null: there are no tabs
    explicit StyleTabs(TiXmlElement* root) : m_pRoot(root) {
        u32 at = 0;
        for (TiXmlNode* node = root ? root->FirstChild() : nullptr; node != nullptr;
             node = node->NextSibling(), at += kFirstGap) {
            setPlace(node, at);
            add(node->ToElement());
        }
    }

    /// Carries out a rule as updateStyleTab describes it, and reports in its name.
    void update(const char* op, const char* tab_key, const TiXmlElement* newTab) {
        if (m_nTabs == 0) {
            reportAssertion(
                REPORT_SITE_AS("int updateStyleTab(TiXmlDocument*, const char*, const char*, const "
                               "TiXmlElement*)"),
                "NULL != (tab_node = doc_style->RootElement()->FirstChildElement())");
            return;
        }
        if (op == nullptr || tab_key == nullptr)
            return;
        const auto found = m_tabs.lower_bound(Tab{tab_key, nullptr});
        if (found == m_tabs.end() || strcmp(found->key, tab_key) != 0)
            return;
        TiXmlElement* const tab_node = found->element;
        const bool modify = strcmp(op, "Modify") == 0;
        if (modify || strcmp(op, "AddAfter") == 0) {
            if (newTab == nullptr)
                return;
            TiXmlNode* const added = m_pRoot->InsertAfterChild(tab_node, *newTab);
            findPlace(added);
            add(added->ToElement());
        }
        if (modify || strcmp(op, "Delete") == 0) {
            --m_nTabs;
            m_tabs.erase(found);
            m_pRoot->RemoveChild(tab_node);
        }
    }

private:
    struct Tab {
        const char* key;
        TiXmlElement* element; ///< null: before every tab with that key
        bool operator<(const Tab& other) const {
            const int order = strcmp(key, other.key);
            if (order != 0 || other.element == nullptr)
                return order < 0;
            return element == nullptr || place(element) < place(other.element);
        }
    };

    void add(TiXmlElement* element) {
        if (element == nullptr)
            return;
        ++m_nTabs;
        const char* key = element->Attribute("key");
        if (key != nullptr)
            m_tabs.insert(Tab{key, element});
    }

    TiXmlElement* m_pRoot;
    u32 m_nTabs = 0; ///< those without a key included
    std::multiset<Tab> m_tabs;
};

} // namespace

int mergeStyle(ModuleConfig* moduleConfig, char** ui_style, char* ui_styleDiversity) try {
    XmlDocument doc_style;
    if (!loadFromOutside(doc_style, *ui_style))
        REPORT_ASSERTION("doc_style.LoadMem(*ui_style, TIXML_ENCODING_UTF8)");
    XmlDocument doc_style_div;
    if (!loadFromOutside(doc_style_div, ui_styleDiversity))
        REPORT_ASSERTION("doc_style_div.LoadMem(ui_styleDiversity, TIXML_ENCODING_UTF8)");

    StyleTabs tabs(doc_style.RootElement());
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
            tabs.update(node_second->Value(), node_second->Attribute("tab_key"),
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
    StyleTabs(doc_style ? doc_style->RootElement() : nullptr).update(op, tab_key, newTab);
    return 0;
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return 0;
}
