// Measures what the desktop costs, without a display. Prints one JSON object.
//
//     desktop-bench queue FOLDER SINCE
//
// SINCE is when the program was started, in seconds of the monotonic clock.
#include <cstdlib>
#include <iostream>
#include <string>

#include "bench/desktop/MeasuredApplication.h"
#include "bench/desktop/Sections.h"
#include "widgets/theme/Theme.h"

int main(int count, char** arguments) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    tovri::bench::MeasuredApplication application(count, arguments);
    const tovri::Theme theme(application);
    if (count == 4 && std::string(arguments[1]) == "queue")
        return tovri::bench::measureQueue(application, arguments[2], std::atof(arguments[3]));
    std::cerr << "desktop-bench queue FOLDER SINCE\n";
    return 2;
}
