// The program in a locale with a comma for a point, and points between thousands.
#pragma once

#include "support/MadeLocale.h"

namespace support {

class CommaLocale : public MadeLocale {
  public:
    CommaLocale()
        : MadeLocale(LC_NUMERIC,
                     "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\n"
                     "grouping 3\nEND LC_NUMERIC\n") {}
};

}  // namespace support
