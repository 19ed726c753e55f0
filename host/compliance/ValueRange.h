#pragma once

#include <string>
#include <vector>

#include "ImageAdjust.h"

/// What a range record says.
namespace compliance {

/// What contradicts itself in the record; empty when nothing does.
std::string rangeProblem(const ia_dynamic_params_attr_st& range);

// The functions below are for records without a problem.

/// Whether a set is to take the value.
bool isSettable(const ia_dynamic_params_attr_st& range, int value);

/// The allowed items, or the ends of the range; and the default.
std::vector<int> settableValues(const ia_dynamic_params_attr_st& range);

/// One below, one above, and one between the items: values that a set is to refuse.
std::vector<int> refusedValues(const ia_dynamic_params_attr_st& range);

/// Whether no settable value is nearer to the wanted one than this, itself settable.
bool isNearest(const ia_dynamic_params_attr_st& range, int wanted, int value);

} // namespace compliance
