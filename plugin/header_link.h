#pragma once

#include "AE_Effect.h"

// Whether `point` lies on the banner's link to the product page. The link covers x 150 to 280
// and y 20 to 64 of the header control, both ends included, counted from the control's
// top-left corner; `frame` is where the host placed the control, in the same coordinates as
// `point`. Pure function.
bool header_link_hit(const PF_Point& point, const PF_Rect& frame);
