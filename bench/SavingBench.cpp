// Measures what saving a long queue writes while transfers come and go: a minute of virtual time. Prints one JSON
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
        const std::int64_t file = world.addFile(name, std::string(1000, 'x'));
        world.link(file).rate = 1000;
        world.enqueue(file);
    }
    world.loop.advance(std::chrono::seconds(10));

    constexpr std::chrono::seconds measured{60};
    world.files.operations.clear();
    const std::size_t before = world.manager().downloads().count(Download::Status::completed);
    world.loop.advance(measured);
    const std::size_t ended = world.manager().downloads().count(Download::Status::completed) - before;
    const auto saves = std::ranges::count(world.files.operations, "writeFileAtomically " + World::queueFile.native());
    const ByteCount size = world.files.fileSize(World::queueFile).value_or(0);
    std::cout << "{\"fileBytes\": " << size << ", \"saves\": " << saves << ", \"transfersEnded\": " << ended
              << ", \"bytesPerSecond\": " << saves * size / measured.count() << "}\n";
    return ended > 0 ? 0 : 1;
}
