#include "sandbox/faults/FaultSettings.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "sandbox/ByteSize.h"

namespace tovri::sandbox {
namespace {

template <class Number>
std::optional<Number> parseNumber(std::string_view text) {
    if (text.starts_with('+')) text.remove_prefix(1);
    Number number{};
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (parsed.ec != std::errc{} || parsed.ptr != text.data() + text.size()) return std::nullopt;
    return number;
}

template <class Field, class Value>
bool assign(Field& field, const std::optional<Value>& value) {
    if (value) field = *value;
    return value.has_value();
}

bool assignSeconds(auto& field, std::string_view text) {
    const std::optional<double> seconds = parseNumber<double>(text);
    if (!seconds || !(*seconds >= 0 && *seconds < 1e9)) return false;
    field = Fault::Seconds(*seconds);
    return true;
}

bool assignStatus(std::optional<int>& field, std::string_view text) {
    const std::optional<int> status = parseNumber<int>(text);
    return status && *status >= 200 && *status <= 599 && assign(field, status);
}

bool setBody(Fault& fault, std::string_view value) {
    if (value == "json") fault.body = FaultBody::json;
    if (value == "html") fault.body = FaultBody::html;
    if (value == "empty") fault.body = FaultBody::empty;
    return value == "json" || value == "html" || value == "empty";
}

bool setExpire(Fault& fault, std::string_view value) {
    return assignStatus(fault.expire, value.empty() ? "403" : value);
}

constexpr FaultSetting settings[] = {
    {"times", "N", "strike N times, then never again (default: always)",
     [](Fault& f, std::string_view v) { return assign(f.times, parseNumber<std::uint64_t>(v)); }},
    {"after", "N", "let the first N matching requests pass",
     [](Fault& f, std::string_view v) { return assign(f.after, parseNumber<std::uint64_t>(v)); }},
    {"lasts", "SECONDS", "strike for that time, from the first strike on",
     [](Fault& f, std::string_view v) { return assignSeconds(f.lasts, v); }},
    {"per-second", "N", "let N matching requests pass in each second",
     [](Fault& f, std::string_view v) { return assign(f.perSecond, parseNumber<std::uint64_t>(v)); }},
    {"status", "CODE", "answer with this HTTP status and an error body",
     [](Fault& f, std::string_view v) { return assignStatus(f.status, v); }},
    {"body", "json|html|empty", "what that answer carries (default: json)", setBody},
    {"retry-after", "TEXT", "add a Retry-After header to it",
     [](Fault& f, std::string_view v) { return f.retryAfter = v, true; }},
    {"rate-limit-reset", "TEXT", "add an X-RateLimit-Reset header to it",
     [](Fault& f, std::string_view v) { return f.rateLimitReset = v, true; }},
    {"redirect", "URL", "answer 302 to URL (or the status given beside it)",
     [](Fault& f, std::string_view v) { return f.redirect = v, true; }},
    {"link", "TEXT", "hand out TEXT as the download link",
     [](Fault& f, std::string_view v) { return f.link = v, true; }},
    {"stale-cursor", "", "hand out a cursor that is refused when the listing is continued with it",
     [](Fault& f, std::string_view) { return f.staleCursor = true; }},
    {"listed-size", "BYTES", "say of each file that it has BYTES",
     [](Fault& f, std::string_view v) { return assign(f.listedSize, parseByteSize(v)); }},
    {"drop", "", "close the connection without an answer", [](Fault& f, std::string_view) { return f.drop = true; }},
    {"delay", "SECONDS", "wait before answering",
     [](Fault& f, std::string_view v) { return assignSeconds(f.delay, v); }},
    {"cut", "BYTES", "close the connection after BYTES of the body",
     [](Fault& f, std::string_view v) { return assign(f.cut, parseByteSize(v)); }},
    {"stall", "BYTES", "send nothing more after BYTES of the body",
     [](Fault& f, std::string_view v) { return assign(f.stall, parseByteSize(v)); }},
    {"stall-for", "SECONDS", "go on after that time (default: never)",
     [](Fault& f, std::string_view v) { return assignSeconds(f.stallFor, v); }},
    {"rate", "BYTES", "send at most BYTES per second",
     [](Fault& f, std::string_view v) { return assign(f.rate, parseByteSize(v)) && *f.rate > 0; }},
    {"announce", "+N|-N", "announce a body N bytes longer or shorter than the one sent",
     [](Fault& f, std::string_view v) { return assign(f.announceMore, parseNumber<std::int64_t>(v)); }},
    {"hide-length", "", "do not announce how long the body is",
     [](Fault& f, std::string_view) { return f.hidesLength = true; }},
    {"size", "BYTES", "send a file of BYTES: the beginning of the true one, or that and more",
     [](Fault& f, std::string_view v) { return assign(f.size, parseByteSize(v)); }},
    {"encoding", "TEXT", "say that the body has this Content-Encoding, which it has not",
     [](Fault& f, std::string_view v) { return f.encoding = v, true; }},
    {"ignore-range", "", "answer a range request with 200 and the whole file",
     [](Fault& f, std::string_view) { return f.ignoreRange = true; }},
    {"range-shift", "+N|-N", "answer a range request with a range that begins N bytes later or earlier",
     [](Fault& f, std::string_view v) { return assign(f.rangeShift, parseNumber<std::int64_t>(v)); }},
    {"range-total", "+N|-N", "say in Content-Range that the file is N bytes longer or shorter than it is",
     [](Fault& f, std::string_view v) { return assign(f.rangeTotalMore, parseNumber<std::int64_t>(v)); }},
    {"ignore-if-range", "", "answer a range request with the range, whatever If-Range says",
     [](Fault& f, std::string_view) { return f.ignoreIfRange = true; }},
    {"other-validator", "", "send the ETag that another machine has for the same content",
     [](Fault& f, std::string_view) { return f.otherValidator = true; }},
    {"no-validator", "", "send neither ETag nor Last-Modified",
     [](Fault& f, std::string_view) { return f.noValidator = true; }},
    {"weak-validator", "", "send a weak ETag and no Last-Modified",
     [](Fault& f, std::string_view) { return f.weakValidator = true; }},
    {"change", "", "change the file's content, for good, before answering",
     [](Fault& f, std::string_view) { return f.changeContent = true; }},
    {"expire", "[CODE]", "refuse this link from now on (default: with 403); a new link works", setExpire},
};

std::expected<void, std::string> apply(Fault& fault, std::string_view name, std::string_view value) {
    const auto* setting = std::ranges::find(settings, name, &FaultSetting::name);
    if (setting == std::end(settings)) return std::unexpected(fmt::format("no such fault setting: \"{}\"", name));
    if (!setting->set(fault, value)) {
        return std::unexpected(fmt::format("\"{}\" is no value for {} (expected {})", value, name, setting->value));
    }
    return {};
}

// Where the settings begin: behind the first colon that a setting's name follows. Patterns may hold colons of their
// own.
std::size_t findSettings(std::string_view text) {
    for (std::size_t colon = text.find(':'); colon != std::string_view::npos; colon = text.find(':', colon + 1)) {
        const std::string_view rest = text.substr(colon + 1);
        const std::string_view name = rest.substr(0, rest.find_first_of("=,"));
        if (std::ranges::find(settings, name, &FaultSetting::name) != std::end(settings)) return colon + 1;
    }
    return std::string_view::npos;
}

}  // namespace

std::span<const FaultSetting> faultSettings() {
    return settings;
}

std::expected<Fault, std::string> parseFault(std::string_view text) {
    const std::size_t roleEnd = text.find(':');
    const std::size_t begin = roleEnd == std::string_view::npos ? roleEnd : findSettings(text.substr(roleEnd + 1));
    if (begin == std::string_view::npos) {
        return std::unexpected(fmt::format("\"{}\" is not of the form ROLE:PATTERN:SETTING", text));
    }
    std::vector<std::pair<std::string, std::string>> pairs;
    pairs.emplace_back("on", text.substr(0, roleEnd));
    pairs.emplace_back("match", text.substr(roleEnd + 1, begin - 1));
    std::string_view rest = text.substr(roleEnd + 1 + begin);
    while (!rest.empty()) {
        const std::string_view setting = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(rest.size(), setting.size() + 1));
        const std::size_t equals = setting.find('=');
        pairs.emplace_back(setting.substr(0, equals),
                           equals == std::string_view::npos ? "" : setting.substr(equals + 1));
    }
    return faultFromPairs(pairs);
}

std::expected<std::vector<Fault>, std::string> readFaultLines(std::string_view text) {
    std::vector<Fault> faults;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        if (line.empty()) continue;
        std::expected<Fault, std::string> fault = parseFault(line);
        if (!fault) return std::unexpected(fault.error());
        faults.push_back(std::move(*fault));
    }
    return faults;
}

std::expected<Fault, std::string> faultFromPairs(std::span<const std::pair<std::string, std::string>> pairs) {
    Fault fault;
    std::string settingsText;
    for (const auto& [name, value] : pairs) {
        if (name == "on") {
            const std::optional<Role> role = roleNamed(value);
            if (!role) return std::unexpected(fmt::format("\"{}\" is none of api, link, upload, storage, web", value));
            fault.role = *role;
        } else if (name == "match") {
            fault.pattern = value;
        } else if (const auto applied = apply(fault, name, value); !applied) {
            return std::unexpected(applied.error());
        } else {
            settingsText +=
                fmt::format("{}{}{}{}", settingsText.empty() ? "" : ",", name, value.empty() ? "" : "=", value);
        }
    }
    fault.text = fmt::format("{}:{}:{}", nameOf(fault.role), fault.pattern, settingsText);
    return fault;
}

}  // namespace tovri::sandbox
