#pragma once

namespace tovri {

// What a colour is for. The face has the values, for light and dark.
enum class Tint { primary, secondary, tertiary, accent, success, attention, failure };

}  // namespace tovri
