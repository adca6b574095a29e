// What only tests may look at.
#pragma once

#include <cstdint>

namespace toolbox::movies {

std::int64_t LiveComponentInstanceCount();
std::int64_t LiveMovieCount();

}  // namespace toolbox::movies
