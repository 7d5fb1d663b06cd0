#include "platform/posix/files/FileError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace tovri {
namespace {

struct Reason {
    int number;
    std::string_view text;
};

constexpr std::array reasons{
    Reason{ENOSPC, "the disk is full; free some space and try again."},
    Reason{EDQUOT, "your share of the disk is used up; free some space and try again."},
    Reason{EFBIG, "the file is too large for this disk; choose a folder on another disk."},
    Reason{EROFS, "the disk is read-only; choose a folder on another disk."},
    Reason{EACCES, "permission is denied; change the permissions of the folder or choose another one."},
    Reason{EPERM, "permission is denied; change the permissions of the folder or choose another one."},
    Reason{ENOENT, "the file or its folder does not exist; choose another folder or make it anew."},
    Reason{ENOTDIR, "a file stands where a folder should be; choose another folder."},
    Reason{EISDIR, "a folder stands where a file should be; move it away and try again."},
    Reason{EEXIST, "something of that name is already there; move it away or choose another folder."},
    Reason{ENAMETOOLONG, "the name is too long for this disk; choose another disk or a shorter path."},
    Reason{EILSEQ, "the disk does not allow such a name; choose a folder on another disk."},
    Reason{EINVAL, "the disk does not allow this; choose a folder on another disk."},
    Reason{EXDEV, "folders are not moved from one disk to another; choose a folder on the same disk."},
    Reason{ELOOP, "symbolic links lead in a circle; choose another folder."},
    Reason{EIO, "the disk reports a fault; check the disk and its cable."},
    Reason{ENODEV, "the disk is gone; connect it again and try once more."},
    Reason{ENXIO, "the disk is gone; connect it again and try once more."},
    Reason{ESTALE, "the disk is gone; connect it again and try once more."},
    Reason{EBUSY, "another program uses it; close that program and try again."},
    Reason{EMFILE, "too many files are open; close other programs and try again."},
    Reason{ENFILE, "too many files are open; close other programs and try again."},
};

std::string reasonFor(int number) {
    const auto* const known = std::ranges::find(reasons, number, &Reason::number);
    if (known != reasons.end()) return std::string(known->text);
    return "the system reports \"" + std::generic_category().message(number) + "\"; try again later.";
}

ErrorCase caseOf(int number) {
    if (number == EEXIST) return ErrorCase::alreadyExists;
    return number == ENOSPC || number == EDQUOT ? ErrorCase::diskFull : ErrorCase::file;
}

// Length of the well-formed UTF-8 sequence at the start of the text; 0 when there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto lead = byte(0);
    if (lead < 0x80) return 1;
    if (lead < 0xC2 || lead > 0xF4) return 0;
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (text.size() < length) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0U) != 0x80) return 0;
    const bool isOverlong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
    const bool isSurrogateOrBeyond = (lead == 0xED && byte(1) > 0x9F) || (lead == 0xF4 && byte(1) > 0x8F);
    return isOverlong || isSurrogateOrBeyond ? 0 : length;
}

}  // namespace

std::string displayText(const std::filesystem::path& path) {
    std::string shown;
    std::string_view rest = path.native();
    while (!rest.empty()) {
        const std::size_t length = sequenceLength(rest);
        const bool isControl = static_cast<unsigned char>(rest.front()) < ' ' || rest.front() == '\x7F';
        if (length == 0 || isControl) {
            shown += '?';
        } else {
            shown += rest.substr(0, length);
        }
        rest.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return shown;
}

Error fileError(std::string_view action, const std::filesystem::path& path, int number) {
    return {caseOf(number), "Cannot " + std::string(action) + " \"" + displayText(path) + "\": " + reasonFor(number)};
}

Result<void> fileOutcome(int number, std::string_view action, const std::filesystem::path& path) {
    if (number == 0) return {};
    if (number == ECANCELED) return failure(Error::cancelled());
    return failure(fileError(action, path, number));
}

}  // namespace tovri
