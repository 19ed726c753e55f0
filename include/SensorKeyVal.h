#pragma once

#include <string>

#include "ImgctlExport.h"
#include "SensorTypes.h"

/// Asks the image-adjust layer to bring the values of its restricted commands into their legal
/// range. Failures are reported and passed over.
/// @param p_pKeyval      records to correct in place; null is reported
/// @param p_nKeyValNum   number of records
/// @return SNS_SUCCESS always
IMGCTL_API int keyval_correct(KeyVal* p_pKeyval, u32 p_nKeyValNum);

/// Appends records to a text as "(key,value)" pairs, both as signed decimals,
/// with nothing in between.
IMGCTL_API void keyval_st2str(std::string& p_strText, KeyVal* p_pKeyval, u32 p_nKeyValNum);

/// Reads "(key,value)" pairs out of a text. There is no malformed text: what stands outside
/// parentheses is skipped, and a number that cannot be read keeps that of the pair before (0 in the
/// first pair). Numbers beyond 32 bits become the nearest that fits.
/// @param p_strText       the text
/// @param p_pKeyval       receives the records
/// @param p_pnKeyValNum   receives their number
/// @param p_nCapacity     room at p_pKeyval in records; reading stops when it is full. Without it
///                        the caller has at least one record for every "(" in the text
IMGCTL_API void keyval_str2st(const std::string& p_strText, KeyVal* p_pKeyval, u32* p_pnKeyValNum,
                              u32 p_nCapacity = 0xffffffffu);
