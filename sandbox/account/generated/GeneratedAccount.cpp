#include "sandbox/account/generated/GeneratedAccount.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "sandbox/Random.h"
#include "sandbox/account/Account.h"
#include "sandbox/account/generated/AwkwardNames.h"

namespace tovri::sandbox {
namespace {

constexpr std::size_t maxDepth = 6;
constexpr std::uint64_t filesPerFolder = 12;

class Generator {
public:
    Generator(Account& account, const GeneratedAccountSettings& settings)
        : account_(account), settings_(settings), random_(mix(settings.seed)) {}

    void run() {
        account_.reseed(settings_.seed);
        folders_.push_back({account_.addFolder(rootID, "Generated"), 1, {}});
        const std::uint64_t folders = settings_.folders.value_or(settings_.files / filesPerFolder);
        for (std::uint64_t index = 0; index < folders; ++index) addFolder(index);
        for (std::uint64_t index = 0; index < settings_.files; ++index) addFile(index);
    }

private:
    struct Folder {
        FileID id;
        std::size_t depth;
        std::set<std::string> names;
    };

    void addFolder(std::uint64_t index) {
        std::size_t parent = pickFolder();
        if (folders_[parent].depth >= maxDepth) parent = 0;
        std::string name = nameIn(folders_[parent], fmt::format("Folder {:03}", index + 1), "");
        const FileID id = account_.addFolder(folders_[parent].id, std::move(name));
        folders_.push_back({id, folders_[parent].depth + 1, {}});
    }

    void addFile(std::uint64_t index) {
        constexpr std::string_view extensions[] = {".mkv", ".mp3", ".jpg", ".txt", ".zip", ".pdf", ""};
        const std::string_view extension = extensions[random_.below(std::size(extensions))];
        Folder& folder = folders_[pickFolder()];
        std::string name = nameIn(folder, fmt::format("File {:05}", index + 1), extension);
        account_.addFile(folder.id, {.name = std::move(name), .size = sizeOf(index)});
    }

    std::size_t pickFolder() { return static_cast<std::size_t>(random_.below(folders_.size())); }

    // A folder never holds a name twice, so that its content fits into a folder of a disk.
    std::string nameIn(Folder& folder, const std::string& plain, std::string_view extension) {
        std::string name = plain + std::string(extension);
        if (settings_.hasAwkwardNames && random_.below(3) != 0) {
            name = awkwardNames()[random_.below(awkwardNames().size())];
        }
        if (!folder.names.insert(name).second) folder.names.insert(name = plain + std::string(extension));
        return name;
    }

    std::uint64_t sizeOf(std::uint64_t index) {
        if (index == 0) return settings_.minSize;
        if (index == 1) return settings_.maxSize;
        const double low = std::log2(static_cast<double>(settings_.minSize) + 1);
        const double high = std::log2(static_cast<double>(settings_.maxSize) + 1);
        const double size = std::exp2(low + (high - low) * random_.fraction()) - 1;
        return std::min(static_cast<std::uint64_t>(std::max(size, 0.0)), settings_.maxSize);
    }

    Account& account_;
    GeneratedAccountSettings settings_;
    Random random_;
    std::vector<Folder> folders_;
};

}  // namespace

void generateAccount(Account& account, const GeneratedAccountSettings& settings) {
    Generator(account, settings).run();
}

}  // namespace tovri::sandbox
