// The queue file and the rules file. What can be read can be written, and is the same when it is read again.
#include <string>

#include "automation/SyncRuleCoding.h"
#include "downloads/saving/QueueSnapshot.h"
#include "fuzz/Fuzz.h"
#include "support/WholeText.h"

namespace {

using namespace tovri;
using fuzz::require;

template <class Value>
void check(std::string_view text, Result<Value> (*decode)(ByteBlob),
           Result<void> (*encode)(const Value&, const FileManager::Sink&)) {
    const Result<Value> value = decode(ByteBlob(text));
    if (!value) return;
    const auto encoded = [&](const Value& each) {
        return test::wholeText([&](const FileManager::Sink& sink) { return encode(each, sink); });
    };
    const std::string written = encoded(*value);
    const Result<Value> again = decode(ByteBlob(written));
    require(again && encoded(*again) == written);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text = fuzz::textOf(bytes, size);
    check(text, decodeQueue, encodeQueue);
    check(text, decodeRules, encodeRules);
    return 0;
}
