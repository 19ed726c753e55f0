#include "SensorFile.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <new>
#include <string>

#include "ImageAdjust.h"
#include "SensorFile_abilities.h"
#include "SensorReport.h"
#include "SensorWdrFlag.h"
#include "SensorXml.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::SensorFile;
constexpr int kMaxShutterCmd = 49;
constexpr int kFixShutterCmd = 50;
constexpr int kHlcSwitchCmd = 112;
constexpr int kBlcSwitchCmd = 128;

bool hasId(const TiXmlElement& element, int cmd) {
    int id = 0;
    return numberAttribute(element, "id", id) && id == cmd;
}

/// Calls visit for every element with the id, in document order; what lies
/// inside one is not searched.
template <class Visitor>
void forEachWithId(TiXmlElement* element, int cmd, const Visitor& visit) {
    if (element == nullptr)
        return;
    if (hasId(*element, cmd)) {
        visit(*element);
        return;
    }
    for (TiXmlElement* child = element->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement())
        forEachWithId(child, cmd, visit);
}

int itemCount(const ia_dynamic_params_attr_st& range) {
    return std::clamp(range.items_cnt, 0, static_cast<int>(std::size(range.item)));
}

/// The two shutter controls keep their value where this sensor allows it, except 100.
void keepAllowedShutter(TiXmlElement* root, int nCmd, int nIndex,
                        ia_dynamic_params_attr_st& range) {
    int nVal = 0;
    if (getDnaValbyCmdId(root, nCmd, nVal) != SNS_SUCCESS || nVal == 100)
        return;
    // Technicians rely on these two lines at every debug level.
    printf("dnaCmdList.cmd_list[%d] = dnaParamList.items_cnt(%d)\n", nIndex, range.items_cnt);
    for (int i = 0; i < itemCount(range); ++i) {
        printf(" dnaParamList.item[%d] = %d nVal = %d \n", i, range.item[i], nVal);
        if (range.item[i] == nVal) {
            range.default_value = nVal;
            break;
        }
    }
}

} // namespace

// Pruning reports in the name of getDnaStyle, whichever of its two callers wants it.
#define DNA_SITE REPORT_SITE_AS("int getDnaStyle(const char*, std::string&)")

void pruneStyle(const char* szStyle, XmlDocument& objStyleXmlDoc) {
    ia_dynamic_params_cmds_st dnaCmdList = {};
    if (ia_ioctrl(IA_CMD_DYNAMIC_PARAMS_CMDS_GET, IA_CMD_OPT_GET, &dnaCmdList) != SNS_SUCCESS) {
        reportAssertion(DNA_SITE,
                        "SNS_SUCCESS == ia_ioctrl(IA_CMD_DYNAMIC_PARAMS_CMDS_GET, IA_CMD_OPT_GET, "
                        "(void*)(&dnaCmdList))");
    }
    const int commands =
        std::clamp(dnaCmdList.cmd_cnt, 0, static_cast<int>(std::size(dnaCmdList.cmd_list)));
    if (!objStyleXmlDoc.LoadMem(szStyle, TIXML_ENCODING_UTF8))
        reportAssertion(DNA_SITE, "objStyleXmlDoc.LoadMem(szStyle, TIXML_ENCODING_UTF8)");
    TiXmlElement* root = objStyleXmlDoc.RootElement();
    reportTrace(TraceKind::Debug, DNA_SITE, kColourPlain, "dnaCmdList.cmd_cnt(%d)\n",
                dnaCmdList.cmd_cnt);

    ia_dynamic_params_attr_st dnaParamList = {};
    for (int i = 0; i < commands; ++i) {
        const int nCmd = dnaCmdList.cmd_list[i];
        reportTrace(TraceKind::Debug, DNA_SITE, kColourPlain, "dnaCmdList.cmd_list[%d] = cmd(%d)\n",
                    i, nCmd);
        if (ia_ioctrl(static_cast<u32>(nCmd), IA_CMD_OPT_GET_PARAM_RNAGE, &dnaParamList) !=
            SNS_SUCCESS) {
            reportAssertion(DNA_SITE,
                            "SNS_SUCCESS == ia_ioctrl((ia_cmd_e)dnaCmdList.cmd_list[i], "
                            "IA_CMD_OPT_GET_PARAM_RNAGE, (void*)(&dnaParamList))");
        }
        if (nCmd == kMaxShutterCmd || nCmd == kFixShutterCmd)
            keepAllowedShutter(root, nCmd, i, dnaParamList);
        if (doDnaStyle(root, nCmd, &dnaParamList) != SNS_SUCCESS) {
            reportAssertion(DNA_SITE,
                            "SNS_SUCCESS == doDnaStyle(objStyleXmlDoc.RootElement(), "
                            "dnaCmdList.cmd_list[i], &dnaParamList)");
        }
    }
    if (getshowWDRFalg()) {
        TiXmlElement* node = nullptr;
        getNodebyCmdId(root, 0, node);
        DeleteNode(root, node);
    }
}

#undef DNA_SITE

int getDnaStyle(const char* szStyle, std::string& strDnaStyle) try {
    XmlDocument objStyleXmlDoc;
    pruneStyle(szStyle, objStyleXmlDoc);
    objStyleXmlDoc.getXmlString(strDnaStyle);
    return SNS_SUCCESS;
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    strDnaStyle.clear();
    return SNS_SUCCESS;
}

int doDnaStyle(TiXmlElement* element, int cmd, const ia_dynamic_params_attr_st* range) {
    if (element == nullptr || range == nullptr)
        return 0;
    if (!hasId(*element, cmd)) {
        for (TiXmlElement* child = element->FirstChildElement(); child != nullptr;
             child = child->NextSiblingElement()) {
            if (doDnaStyle(child, cmd, range) != 0)
                return -1;
        }
        return 0;
    }
    REPORT_DEBUG("_________________cmd(%d) default(%d)__________________\n", cmd,
                 range->default_value);
    element->SetAttribute("value", range->default_value);
    for (TiXmlElement* child = element->FirstChildElement(); child != nullptr;) {
        TiXmlElement* const next = child->NextSiblingElement();
        int index = 0;
        if (!numberAttribute(*child, "index", index))
            return -1;
        const int* const end = range->item + itemCount(*range);
        if (std::find(range->item, end, index) == end) {
            REPORT_DEBUG("_________________delete comboitem(%s)__________________\n",
                         child->Attribute("index"));
            element->RemoveChild(child);
        }
        child = next;
    }
    return 0;
}

int getNodebyCmdId(TiXmlElement* element, int cmd, TiXmlElement*& found) {
    forEachWithId(element, cmd, [&found](TiXmlElement& match) { found = &match; });
    return 0;
}

int getDnaValbyCmdId(TiXmlElement* element, int cmd, int& value) {
    forEachWithId(element, cmd,
                  [&value](TiXmlElement& match) { numberAttribute(match, "value", value); });
    return 0;
}

int ModifyNodebyCmdId(TiXmlElement* element, int cmd) {
    forEachWithId(element, cmd, [cmd](TiXmlElement& match) {
        if (cmd == kHlcSwitchCmd)
            match.SetAttribute("enable_list", "128");
        else if (cmd == kBlcSwitchCmd)
            match.SetAttribute("enable_list", "112");
    });
    return 0;
}

int DeleteNode(TiXmlElement* root, TiXmlElement* node) {
    if (root == nullptr || node == nullptr)
        return -1;
    TiXmlElement* parent = node->Parent() ? node->Parent()->ToElement() : nullptr;
    if (parent != nullptr)
        parent->RemoveChild(node);
    return 0;
}
