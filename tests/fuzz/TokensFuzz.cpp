// How a transfer goes on: the tokens of items, and the notes beside partial files.
#include <string>

#include "downloads/partials/PartialNote.h"
#include "downloads/partials/ResumePoint.h"
#include "fuzz/Fuzz.h"

namespace {

using namespace tovri;
using fuzz::require;

void checkToken(std::string_view text) {
    const auto point = ResumePoint::parse(text);
    if (!point) return;
    require(point->offset >= 1 && point->offset <= point->length);
    require(ResumePoint::parse(point->encoded()) == point);
}

void checkNote(std::string_view text) {
    const auto note = DatedNote::parse(text);
    if (!note) return;
    require(!note->note.parts.empty());
    ByteCount end = 0;
    for (const NotedPart& part : note->note.parts) {
        require(part.first >= end && part.first <= part.durable.end && part.durable.end <= part.written.end);
        end = part.written.end;
    }
    require(note->note.file.length == 0 || end <= note->note.file.length);
    require(DatedNote::parse(note->encoded()) == note);
    (void)note->counting("another start");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text = fuzz::textOf(bytes, size);
    checkToken(text);
    checkNote(text);
    Checksum checksum;
    checksum.add(text);
    checkNote(std::string(text) + checksum.text() + '\n');
    return 0;
}
