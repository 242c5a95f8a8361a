#pragma once

#include "AE_Effect.h"

// Merges a rectangle the input layer produces into the effect's pre-render result. An empty
// result (left >= right or top >= bottom) takes `produced` as it is, empty or not; otherwise
// a non-empty `produced` widens it to the union, so a result never shrinks.
void merge_result_rect(PF_LRect& result, const PF_LRect& produced);
