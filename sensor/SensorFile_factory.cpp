#include "SensorFile.h"

#include <new>

#include "SensorFile_abilities.h"
#include "SensorReport.h"
#include "SensorXml.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::SensorFile;

} // namespace

int getFctData(char* p_szStyle, KeyVal* p_pKeyVal, u32* p_pnKeyValNum, u32 p_nCapacity) try {
    *p_pnKeyValNum = 0;
    XmlDocument objDnaStyleDoc;
    pruneStyle(p_szStyle, objDnaStyleDoc);
    if (objDnaStyleDoc.NoChildren())
        REPORT_ASSERTION("objDnaStyleDoc.LoadMem(strDnaStyle.c_str(), TIXML_ENCODING_UTF8)");
    TiXmlElement* pRootNode = objDnaStyleDoc.RootElement();
    if (style2KeyVal(pRootNode, p_pKeyVal, p_pnKeyValNum, p_nCapacity) != SNS_SUCCESS) {
        REPORT_ASSERTION("SNS_SUCCESS == style2KeyVal(pRootNode, p_pKeyVal, p_pnKeyValNum)",
                         "p_pnKeyValNum(%u)\n", *p_pnKeyValNum);
    }
    return SNS_SUCCESS;
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return SNS_SUCCESS;
}

int style2KeyVal(TiXmlElement* pRootNode, KeyVal* p_pKeyVal, u32* p_pnKeyValNum, u32 p_nCapacity) {
    if (pRootNode == nullptr)
        return 0;
    int id = 0;
    int value = 0;
    if (numberAttribute(*pRootNode, "id", id) && numberAttribute(*pRootNode, "value", value)) {
        if (*p_pnKeyValNum >= p_nCapacity)
            return -1;
        p_pKeyVal[*p_pnKeyValNum] = KeyVal{static_cast<u32>(id), static_cast<u32>(value)};
        ++*p_pnKeyValNum;
    }
    for (TiXmlElement* child = pRootNode->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        if (style2KeyVal(child, p_pKeyVal, p_pnKeyValNum, p_nCapacity) != 0)
            return -1;
    }
    return 0;
}
