#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "screens/Stepper.h"
#include "settings/Preferences.h"

namespace tovri {

// The tab of what concerns all transfers: their speed, the timetable of it, and the room that downloads leave. Every
// change is stored at once.
class TransferSettings {
public:
    // `preferences` outlives this.
    explicit TransferSettings(Preferences& preferences) : preferences_(preferences) {}

    // --- The section "Speed" ---

    static constexpr const char* speedSection = "Speed";
    static constexpr const char* limitsLabel = "Limit the speed";
    static constexpr const char* limitsNote = "Of all downloads and uploads together, and by the timetable below.";
    static constexpr const char* rateUnit = " KB/s";        // behind a number that stands for a rate
    static constexpr const char* noLimitText = "No limit";  // in place of the limit 0

    [[nodiscard]] bool limits() const { return preferences_.value(preference::limitSpeed); }

    // In rateUnit.
    [[nodiscard]] Stepper limit() const;

    void setLimits(bool limits) { preferences_.assign(preference::limitSpeed, limits); }

    void setLimit(std::int64_t kilobytes);

    // --- The section "Timetable": a line for each entry, then the button that adds one ---

    static constexpr const char* timetableSection = "Timetable";
    static constexpr const char* timetableNote =
        "At these times another limit counts, or downloads are held and go on afterwards. Where times overlap, the "
        "strictest counts.";
    static constexpr const char* addLabel = "Add Time";
    static constexpr const char* removeLabel = "Remove";
    static constexpr const char* daysLabel = "Days";
    static constexpr const char* fromLabel = "From";
    static constexpr const char* toLabel = "To";
    static constexpr const char* whatLabel = "What counts then";
    static constexpr const char* limitChoice = "Limit";
    static constexpr const char* holdChoice = "Hold";

    // One line of it.
    struct Time {
        TimetableEntry entry;
        std::string days;      // "Mon–Fri"
        Stepper limit;         // in rateUnit; where it holds, what it would be
        std::string spelling;  // "Mon–Fri, 08:00 to 18:00"
    };

    [[nodiscard]] std::vector<Time> times() const;

    void addTime();
    void removeTime(std::size_t index);
    void setBegin(std::size_t index, std::chrono::minutes from);
    void setEnd(std::size_t index, std::chrono::minutes to);
    void setHolds(std::size_t index, bool holds);
    void setTimeLimit(std::size_t index, std::int64_t kilobytes);

    // The last day of an entry stays.
    void setDay(std::size_t index, std::size_t day, bool isOn);

    // --- The section "Disks" ---

    static constexpr const char* disksSection = "Disks";
    static constexpr const char* reserveUnit = " MiB";
    static constexpr const char* reserveNote =
        "What would need that room waits; but never more than a hundredth of a disk is kept free.";

    // In reserveUnit.
    [[nodiscard]] Stepper reserve() const;

    void setReserve(std::int64_t mebibytes);

private:
    void change(std::size_t index, const std::function<void(TimetableEntry&)>& change);

    Preferences& preferences_;
};

}  // namespace tovri
