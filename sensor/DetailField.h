#pragma once

#include "SensorTypes.h"

// Fields of a detail text such as (max_scheme=4)(isInfrared=1). A field's value is what stands
// between the first "=" behind the first occurrence of its name and the next ")". The search is for
// plain text, so the tail of a longer name matches too.

/// Reads a field as a signed decimal: digits end at the first other character, none give 0.
/// @return 0 when found; -1 otherwise, *value is then untouched
int getDetailFieldTou32(const char* detail, const char* name, u32* value);

/// Copies the characters of a field, without a terminating zero: the caller
/// clears the buffer first.
/// @param capacity  bytes at value; at most capacity - 1 characters are copied
/// @return 0 when found; -1 otherwise, the buffer is then untouched
int getDetailFieldToStr(const char* detail, const char* name, char* value, u32 capacity);
