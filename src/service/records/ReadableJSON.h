#pragma once

#include <string>
#include <string_view>

namespace tovri {

// The JSON text with what is allowed there but no reader takes put in other words, so that it does not cost the whole
// answer where nobody asks for it: half of a surrogate pair becomes U+FFFD, a whole number beyond 64 bits is written
// with a fraction, and a number beyond all becomes {}, which is nobody's value. Any other text stays as it is.
[[nodiscard]] std::string readableJSON(std::string_view text);

}  // namespace tovri
