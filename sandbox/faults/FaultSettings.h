#pragma once

#include <expected>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sandbox/faults/Faults.h"

namespace tovri::sandbox {

// One thing that a fault can be told, as "name" or "name=value".
struct FaultSetting {
    std::string_view name;
    std::string_view value;  // what stands after "=", empty for a setting that takes none
    std::string_view help;
    bool (*set)(Fault& fault, std::string_view value);  // false: no such value
};

// All settings; the parser and the help text are both made from them.
std::span<const FaultSetting> faultSettings();

// Reads "ROLE:PATTERN:SETTING[=VALUE][,SETTING[=VALUE]]...", or says what is wrong with it.
std::expected<Fault, std::string> parseFault(std::string_view text);

// One fault per line; empty lines do not count.
std::expected<std::vector<Fault>, std::string> readFaultLines(std::string_view text);

// The same from pairs, among them "on" (the role) and "match" (the pattern).
std::expected<Fault, std::string> faultFromPairs(std::span<const std::pair<std::string, std::string>> pairs);

}  // namespace tovri::sandbox
