// The public header (include/orvix_lut2d.h) under the name the library's sources use.
#pragma once

#include <orvix_lut2d.h>
