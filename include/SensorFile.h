#pragma once

#include <string>

#include "ImgctlExport.h"
#include "SensorTypes.h"

class TiXmlDocument;
class TiXmlElement;
struct ModuleConfig;
struct ia_dynamic_params_attr_st;

// Files. None of these takes a lock: two writers of one file at once are the caller's fault.

/// @return the length of a file in bytes; 0, after a report, when it cannot be opened
IMGCTL_API INT64 getFileLen(const char* file_name);

/// Reads the start of a file into a buffer of at least size bytes.
/// @return size; -1, without a report, when the file cannot be opened or is shorter
IMGCTL_API int loadFromFile(const char* file_name, char* buffer, INT64 size);

/// Replaces a file by file_len bytes. A failed open and a short write are reported.
/// @return the number of bytes written
IMGCTL_API int saveToFile(char* file_name, char* data, INT64 file_len);

/// Reads records from a file: 8 bytes each, key then value, little-endian, no header. What lies
/// beyond them is ignored; a missing or short file is reported and leaves the rest of the array as
/// it was.
/// @return 0 always
IMGCTL_API int keyValFromFile(char* file_name, KeyVal* p_pKeyVal, u32 p_nKeyValNum);

/// Replaces a file by records. A failed open and a short write are reported.
/// @return 0 always
IMGCTL_API int keyValToFile(char* file_name, KeyVal* p_pKeyVal, u32 p_nKeyValSum);

/// Reads the version of the stored parameters. @return 0; -1 when there is none, *p_pnVersion is
/// then not to be used
IMGCTL_API int getVersion(u32* p_pnVersion);

/// Stores the version of the stored parameters. @return 0; -1 when not a byte was written
IMGCTL_API int setVersion(u32 p_nVersion);

// The user-interface style: XML documents whose elements with an "id" are controls, the id being
// the parameter's key, "value" its factory value, and their children with an "index" its choices.
// Texts are NUL-terminated. A text that is no XML, nests more than 64 levels or has more than 64
// attributes on one element is reported and read as an empty document. Bytes that are no UTF-8 are
// kept as they are.

/// Merges the rules for this device into a style. What fails is reported and passed over. A style
/// or rules of more than 1 MiB count as no XML; the result may be larger. It is also written to
/// "/tmp/merge_style.xml", for a look at it; a failure of that is not reported.
/// @param moduleConfig        its szDetail decides which rule groups apply
/// @param ui_style            a malloc'd text, replaced by the merged one (the pointer may change)
/// @param ui_styleDiversity   the rules; null is reported
/// @return SNS_SUCCESS always
IMGCTL_API int mergeStyle(ModuleConfig* moduleConfig, char** ui_style, char* ui_styleDiversity);

/// Carries out one rule on the first tab (child of the root) whose "key" equals tab_key. The user
/// data of the root's children is overwritten.
/// @param op      "Modify" replaces the tab by a copy of newTab, "AddAfter" inserts a copy behind
///                it, "Delete" removes it; anything else, or null, does nothing
/// @param newTab  not needed by "Delete"; null makes the other two do nothing
/// @return 0 always; a style without tabs is reported
IMGCTL_API int updateStyleTab(TiXmlDocument* doc_style, const char* op, const char* tab_key,
                              const TiXmlElement* newTab);

/// Prunes a copy of a style by what the image-adjust layer reports for this sensor: a restricted
/// command's control takes the layer's default and loses the choices that are not allowed. While
/// the wide-dynamic-range flag is set, the element of id 0 is removed.
/// @param strDnaStyle  receives the pruned text, replacing what it held
/// @return SNS_SUCCESS always; failures are reported and passed over
IMGCTL_API int getDnaStyle(const char* szStyle, std::string& strDnaStyle);

/// Applies one command's range to the controls with that id under an element, itself included.
/// @return 0; -1 when a choice lacks "index"
IMGCTL_API int doDnaStyle(TiXmlElement* element, int cmd, const ia_dynamic_params_attr_st* range);

/// Finds the last element with that id in document order. @return 0; found is untouched without one
IMGCTL_API int getNodebyCmdId(TiXmlElement* element, int cmd, TiXmlElement*& found);

/// Reads the "value" of the last element with that id and a value. @return 0; value is untouched
/// without one
IMGCTL_API int getDnaValbyCmdId(TiXmlElement* element, int cmd, int& value);

/// Points the "enable_list" of control 112 at 128 and that of control 128 at 112. @return 0
IMGCTL_API int ModifyNodebyCmdId(TiXmlElement* element, int cmd);

/// Removes a node from its parent element. @return -1 when either argument is null, otherwise 0
IMGCTL_API int DeleteNode(TiXmlElement* root, TiXmlElement* node);

/// Reads the factory values out of a style, pruned for this sensor, in document order.
/// @param p_szStyle        the merged style
/// @param p_pKeyVal        receives the records
/// @param p_pnKeyValNum    receives their number
/// @param p_nCapacity      room at p_pKeyVal in records; a style with more is
///                         reported, the first are kept
/// @return SNS_SUCCESS always
IMGCTL_API int getFctData(char* p_szStyle, KeyVal* p_pKeyVal, u32* p_pnKeyValNum,
                          u32 p_nCapacity = SENSOR_KEYVAL_MAX);

/// Appends the id/value pairs of a subtree at index *p_pnKeyValNum and advances it.
/// @return 0; -1 when there were more than fit
IMGCTL_API int style2KeyVal(TiXmlElement* pRootNode, KeyVal* p_pKeyVal, u32* p_pnKeyValNum,
                            u32 p_nCapacity = SENSOR_KEYVAL_MAX);
