#include "sandbox/account/generated/AwkwardNames.h"

#include <vector>

namespace tovri::sandbox {
namespace {

std::string repeated(const std::string& text, std::size_t times) {
    std::string all;
    for (std::size_t count = 0; count < times; ++count) all += text;
    return all;
}

}  // namespace

std::span<const std::string> awkwardNames() {
    static const std::vector<std::string> names = {
        " leading blank.txt",
        "trailing blank ",
        "trailing dot.",
        "two  blanks\tand a tab.txt",
        "line\nbreak.txt",
        "carriage\rreturn.txt",
        "'single' and \"double\" quotes.txt",
        "back\\slash.txt",
        "percent%20encoded%2Fslash.txt",
        "100% & more; $HOME `date` $(id) | x.txt",
        "question? star* [1080p] {a,b}.mkv",
        "colon: a < b > c.txt",
        "hash#fragment?query=1&x=2.txt",
        "plus+equals=tilde~.txt",
        "-rf",
        "--help",
        ".hidden",
        "..double dot start",
        "dots .. in ... the middle.txt",
        "...",
        "Caf\u00e9 (composed).txt",
        "Cafe\u0301 (decomposed).txt",
        "readme.txt",
        "README.TXT",
        "\u65e5\u672c\u8a9e\u306e\u6620\u753b.mkv",
        "\u0420\u0443\u0441\u0441\u043a\u0438\u0439.mp3",
        "\u0627\u0644\u0639\u0631\u0628\u064a\u0629.pdf",
        "\U0001F3AC\U0001F468\u200D\U0001F469\u200D\U0001F467 family film.mkv",
        "zero\u200bwidth and right-to-left\u202egpj.exe",
        "con",
        "file.txt.part",
        "0",
        repeated("long ", 50) + ".txt!",      // 255 bytes, the most that file systems take
        repeated("\u00e9", 127) + "x",        // 255 bytes in 128 characters
        repeated("\U0001F600", 62) + ".mkv",  // 252 bytes that must not be cut anywhere
    };
    return names;
}

}  // namespace tovri::sandbox
