#include "sandbox/account/generated/LivingFolders.h"

#include <fmt/format.h>

#include "sandbox/Random.h"

namespace tovri::sandbox {
namespace {

enum class Step { add, rename, replace, remove };

Step stepNumber(int number, LivingFolder::Change change) {
    constexpr Step turn[] = {Step::add, Step::add, Step::rename, Step::add, Step::replace, Step::remove};
    return change == LivingFolder::Change::grows ? Step::add : turn[static_cast<std::size_t>(number) % std::size(turn)];
}

std::uint64_t sizeOf(int number) {
    return 400'000 + mix(static_cast<std::uint64_t>(number)) % 2'600'000;
}

}  // namespace

void LivingFolders::add(LivingFolder folder) {
    const std::scoped_lock lock(mutex_);
    account_.makeFolders(folder.path);
    const double nextAt = clock_() + folder.interval;
    states_.push_back({.folder = std::move(folder), .nextAt = nextAt, .added = {}});
}

void LivingFolders::advance() {
    const std::scoped_lock lock(mutex_);
    const double now = clock_();
    for (State& state : states_)
        for (; state.nextAt <= now; state.nextAt += state.folder.interval) step(state);
}

void LivingFolders::step(State& state) {
    std::erase_if(state.added, [this](FileID id) { return !account_.find(id); });  // somebody else removed it
    const Step step = stepNumber(state.changes++, state.folder.change);
    if (step == Step::add || state.added.empty()) return addFile(state);
    const FileID oldest = state.added.front();
    const File file = account_.find(oldest).value_or(File{});
    if (step == Step::rename) {
        account_.rename(oldest, "Restored " + file.name);
    } else if (step == Step::remove) {
        account_.remove(oldest);
    } else if (const auto id =
                   account_.replace(oldest, {.name = file.name, .size = static_cast<std::uint64_t>(file.size)})) {
        state.added.front() = *id;
    }
}

void LivingFolders::addFile(State& state) {
    const int number = ++state.files;
    const std::string folder = state.folder.path + (number % 4 == 0 ? "/Extras" : "");
    NewFile file{.name = fmt::format("Newsreel {:03}.mp4", number), .size = sizeOf(number)};
    state.added.push_back(account_.addFile(account_.makeFolders(folder), std::move(file)));
}

}  // namespace tovri::sandbox
