// Measures what saving a long queue writes while transfers come and go: five minutes of virtual time. Prints one JSON
// object.
//
//     saving-bench ITEMS
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>

#include "downloads/World.h"

using namespace tovri;
using namespace tovri::test;

int main(int count, char** arguments) {
    if (count != 2) {
        std::cerr << "saving-bench ITEMS\n";
        return 2;
    }
    const int items = std::atoi(arguments[1]);
    World world;
    for (int i = 0; i < items; ++i) {
        const std::string name = "Some episode with a name of usual length - " + std::to_string(i) + ".mkv";
        const FileID file = world.addFile(name, std::string(1000, 'x'));
        world.link(file).rate = 1000;
        world.enqueue(file);
    }
    const auto saves = [&world] {
        return std::ranges::count(world.files.operations, "writeFileAtomically " + World::queueFile.native());
    };
    world.loop.advance(std::chrono::seconds(10));

    world.files.operations.clear();
    const bool hasSaved = world.loop.runUntil([&] { return saves() > 0; });  // from one save on
    constexpr std::chrono::minutes measured{5};
    world.files.operations.clear();
    const std::size_t before = world.manager().downloads().count(Download::Status::completed);
    world.loop.advance(measured);
    const std::size_t ended = world.manager().downloads().count(Download::Status::completed) - before;
    const ByteCount size = world.files.fileSize(World::queueFile).value_or(0);
    std::cout << "{\"fileBytes\": " << size << ", \"saves\": " << saves() << ", \"transfersEnded\": " << ended
              << ", \"bytesPerSecond\": " << saves() * size / std::chrono::seconds(measured).count() << "}\n";
    return hasSaved && ended > 0 ? 0 : 1;
}
