#include <random>

#include <gtest/gtest.h>

#include "platform/curl/ResumePoint.h"

namespace tovri {
namespace {

constexpr const char* partialName = "6BA7B810-9DAD-11D1-80B4-00C04FD430C8";

ResumePoint samplePoint() {
    return {"https://storage.example/a?k=%0A&s=1", "\"tag\"", 100, 60, *UUID::parse(partialName)};
}

}  // namespace

TEST(ResumePoint, comesBackFromItsToken) {
    EXPECT_EQ(ResumePoint::parse(samplePoint().encoded()), samplePoint());
}

TEST(ResumePoint, refusesTokensThatCannotBeTrue) {
    const std::string tokens[] = {
        "",
        "tovri-resume-1",
        "tovri-resume-2\n100\n60\n" + std::string(partialName) + "\n\"t\"\nhttps://h/\n",   // of a later format
        "tovri-resume-1\n100\n100\n" + std::string(partialName) + "\n\"t\"\nhttps://h/\n",  // nothing left to ask for
        "tovri-resume-1\n100\n0\n" + std::string(partialName) + "\n\"t\"\nhttps://h/\n",
        "tovri-resume-1\n100\n-1\n" + std::string(partialName) + "\n\"t\"\nhttps://h/\n",
        "tovri-resume-1\n100\n60\n../../../../../../../../../etc/hostname\n\"t\"\nhttps://h/\n",  // leads elsewhere
        "tovri-resume-1\n100\n60\n" + std::string(partialName) + "\n\nhttps://h/\n",              // no validator
        "tovri-resume-1\n100\n60\n" + std::string(partialName) + "\n\"t\"\nhttps://h/\r\n",
        samplePoint().encoded() + "more\n",
    };
    for (const std::string& token : tokens) EXPECT_EQ(ResumePoint::parse(token), std::nullopt) << token;
}

TEST(ResumePoint, survivesAnyDamage) {
    std::mt19937 random(7);
    const std::string whole = samplePoint().encoded();
    for (int round = 0; round < 20'000; ++round) {
        std::string token = whole.substr(0, random() % (whole.size() + 1));
        if (!token.empty()) token[random() % token.size()] = static_cast<char>(random());
        const auto point = ResumePoint::parse(token);
        if (point) EXPECT_TRUE(point->offset >= 1 && point->offset < point->length) << token;
    }
}

}  // namespace tovri
