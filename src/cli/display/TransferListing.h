#pragma once

#include <optional>
#include <string>
#include <vector>

#include "service/Transfer.h"

namespace tovri::cli {

// What can be done with a transfer depends on where its status puts it. The service has states that belong nowhere.
enum class TransferGroup { active, seeding, failed, completed, other };

[[nodiscard]] TransferGroup groupOf(const Transfer& transfer);

// Its name, or what stands for a missing one. Not yet printable.
[[nodiscard]] std::string titleOf(const Transfer& transfer);

// How far an active one has come, what a seeding one gives, why one failed.
[[nodiscard]] std::string detailOf(const Transfer& transfer);

// "2 active · 1 seeding · 6.9 MB/s down"; of what there is none nothing is said.
[[nodiscard]] std::string summaryOf(const std::vector<Transfer>& transfers);

// All transfers as lines of text, a section for each group. With a width, of 20 columns or more, they fit
// such a terminal.
[[nodiscard]] std::vector<std::string> transferLines(const std::vector<Transfer>& transfers,
                                                     std::optional<std::size_t> width);

// The same as one JSON document on one line.
[[nodiscard]] std::string transfersJSON(const std::vector<Transfer>& transfers);

}  // namespace tovri::cli
