#include "downloads/running/Staging.h"

#include "downloads/partials/ResumePoint.h"

namespace tovri {

Task<Result<std::filesystem::path>> Staging::stage(Path received, std::string lane) {
    if (holds(received)) co_return received;
    const Path staged = around_.stagingFolder / around_.random.makeUUID().text();
    auto move = [&files = around_.files, received, staged]() -> Result<Path> {
        if (Result<void> made = files.createPrivateFolder(staged.parent_path()); !made) return failure(made);
        if (Result<void> moved = files.moveItem(received, staged, {}); !moved) return failure(moved);
        if (Result<void> durable = files.makeDurable(staged); !durable) {
            (void)files.moveItem(staged, received, {});
            return failure(durable);
        }
        return staged;
    };
    Result<Path> moved = co_await onVolume<Path>(around_.loop, around_.volumes, std::move(lane), {}, std::move(move));
    co_return moved;
}

Task<Result<Staging::Unstaged>> Staging::unstage(Path staged) {
    Result<ReceivingFolders::Place> place = co_await around_.receiving.find(std::nullopt, {});
    if (!place) co_return failure(place);
    const UUID name = around_.random.makeUUID();
    const Path partial = place->folder / name.text();
    auto move = [&files = around_.files, staged, partial]() -> Result<ByteCount> {
        if (files.fileSize(staged).value_or(0) < 1) return failure(Error(ErrorCase::file, "There is nothing to keep."));
        if (Result<void> made = files.createPrivateFolder(partial.parent_path()); !made) return failure(made);
        if (Result<void> moved = files.moveItem(staged, partial, {}); !moved) return failure(moved);
        if (Result<void> durable = files.makeDurable(partial); !durable) return failure(durable);
        return files.fileSize(partial).value_or(0);
    };
    Result<ByteCount> length =
        co_await onVolume<ByteCount>(around_.loop, around_.volumes, place->lane, {}, std::move(move));
    if (!length) co_return failure(length);
    co_return Unstaged{partial, ResumePoint::ofWhole(name, *length).encoded()};
}

}  // namespace tovri
