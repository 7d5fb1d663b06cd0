#include "sandbox/faults/Faults.h"

#include <algorithm>
#include <utility>

#include <fnmatch.h>

namespace tovri::sandbox {
namespace {

bool isMeantFor(const Fault& fault, Role role, std::span<const std::string> names) {
    return fault.role == role && std::ranges::any_of(names, [&](const std::string& name) {
               return name == fault.pattern || fnmatch(fault.pattern.c_str(), name.c_str(), 0) == 0;
           });
}

}  // namespace

void Faults::add(Fault fault) {
    const std::scoped_lock lock(mutex_);
    entries_.emplace_back(std::move(fault));
}

void Faults::clear() {
    const std::scoped_lock lock(mutex_);
    entries_.clear();
}

std::optional<Fault> Faults::take(Role role, std::span<const std::string> names) {
    const std::scoped_lock lock(mutex_);
    for (Entry& entry : entries_) {
        if (!isMeantFor(entry.fault, role, names)) continue;
        if (strikes(entry)) return entry.fault;
    }
    return std::nullopt;
}

bool Faults::strikes(Entry& entry) {
    const Fault& fault = entry.fault;
    const Clock::time_point now = Clock::now();
    if (entry.seen++ < fault.after) return false;
    if (fault.times && entry.used >= *fault.times) return false;
    if (fault.perSecond) {
        if (now - entry.secondBegun >= std::chrono::seconds(1)) {
            entry.secondBegun = now;
            entry.passedInIt = 0;
        }
        if (entry.passedInIt++ < *fault.perSecond) return false;
    }
    if (entry.used == 0) entry.begun = now;
    if (fault.lasts && now - entry.begun >= *fault.lasts) return false;
    ++entry.used;
    return true;
}

std::vector<Faults::Use> Faults::uses() const {
    const std::scoped_lock lock(mutex_);
    std::vector<Use> uses;
    for (const Entry& entry : entries_) uses.push_back({entry.fault.text, entry.used});
    return uses;
}

}  // namespace tovri::sandbox
