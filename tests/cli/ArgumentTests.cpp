#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/arguments/ArgumentParser.h"
#include "cli/arguments/Completion.h"
#include "cli/arguments/HelpText.h"
#include "cli/arguments/ManPage.h"

namespace tovri::cli {
namespace {

using testing::HasSubstr;

TEST(Arguments, areTakenApart) {
    const auto parsed =
        parseArguments({"get", "/Films/Season 1", "--to", "here", "42", "--delete", "--jobs", "5", "--", "--help"});
    const auto& invocation = std::get<Invocation>(parsed);
    EXPECT_EQ(invocation.command, CommandName::get);
    EXPECT_EQ(invocation.operands, (std::vector<std::string>{"/Films/Season 1", "42", "--help"}));
    EXPECT_EQ(invocation.value("--to"), "here");
    EXPECT_EQ(invocation.value("--jobs"), "5");
    EXPECT_TRUE(invocation.has("--delete"));
    EXPECT_FALSE(invocation.has("--json"));
}

TEST(Arguments, thatAreWrongAreNamed) {
    struct Case {
        std::vector<std::string> arguments;
        const char* part;  // of the complaint
    };

    const Case cases[] = {
        {{}, "a command is missing"},
        {{"fetch"}, "there is no command 'fetch'"},
        {{"--loud"}, "'--loud'"},
        {{"get"}, "PATH is missing"},
        {{"mv", "/a"}, "FOLDER is missing"},
        {{"ls", "/a", "/b"}, "too many arguments"},
        {{"run", "/a"}, "/a"},
        {{"get", "/a", "--jobs", "0"}, "'0' is not a whole number"},
        {{"get", "/a", "--jobs", "3x"}, "'3x' is not a whole number"},
        {{"get", "/a", "--jobs", "99999999999"}, "is not a whole number"},
        {{"get", "/a", "--on-conflict", "keepBoth"}, "none of ask, keep-both, replace, skip"},
        {{"get", "/a", "--to"}, "--to"},
        {{"queue", "--loud"}, "--loud"},
        {{"transfers"}, "a command is missing"},
        {{"transfers", "--loud"}, "there is no command 'transfers --loud'"},
        {{"feeds", "list", "x"}, "x"},
        {{"list"}, "there is no command 'list'"},
        {{"transfers list"}, "there is no command 'transfers list'"},
        {{"transfers", "cancel", "7x"}, "'7x' is not an ID"},
        {{"feeds", "rm", "99999999999999999999"}, "is not an ID"},
    };
    for (const Case& c : cases) {
        const auto parsed = parseArguments(c.arguments);
        const auto* wrong = std::get_if<WrongArguments>(&parsed);
        ASSERT_TRUE(wrong) << c.part;
        EXPECT_THAT(wrong->message, HasSubstr(c.part));
        EXPECT_THAT(wrong->message, HasSubstr("--help"));
        EXPECT_EQ(wrong->message.find('\n'), std::string::npos) << wrong->message;
    }
}

// Everything that the parser takes is in all that people read and in what the shells complete.
TEST(Definitions, reachHelpManPageAndCompletions) {
    const std::string man = manPage("1.2");
    const std::string bash = bashCompletion();
    const std::string zsh = zshCompletion();
    for (const CommandDefinition& command : commandDefinitions()) {
        const CommandGroup* group = groupOf(command);
        EXPECT_THAT(group ? groupHelp(*group) : programHelp(), HasSubstr(std::string(command.summary)));
        std::vector<std::string> words{std::string(lastWordOf(command)), "--help"};
        if (group) words.emplace(words.begin(), group->name);
        const auto asked = parseArguments(words);
        const std::string help = std::get<RequestedText>(asked).text;
        EXPECT_THAT(bash, HasSubstr("        \"" + std::string(command.name) + "\")\n"));
        EXPECT_THAT(zsh, HasSubstr("'" + std::string(lastWordOf(command)) + ":"));
        for (const OperandDefinition& operand : command.operands)
            EXPECT_THAT(help, HasSubstr(std::string(operand.placeholder)));
        for (const FlagDefinition& flag : command.flags) {
            const std::string name(flag.name);
            EXPECT_THAT(help, HasSubstr("  " + name));
            EXPECT_THAT(man, HasSubstr("\\-\\-" + name.substr(2, 2)));
            EXPECT_THAT(bash, HasSubstr(name));
            EXPECT_THAT(zsh, HasSubstr("'" + name + "["));
        }
    }
}

TEST(Help, fitsEightyColumns) {
    std::string all = programHelp();
    for (const CommandGroup& group : commandGroups()) all += groupHelp(group);
    for (const CommandDefinition& command : commandDefinitions()) all += commandHelp(command);
    for (std::size_t begin = 0; begin < all.size();) {
        const std::size_t end = all.find('\n', begin);
        EXPECT_LE(end - begin, 80U) << all.substr(begin, end - begin);
        begin = end + 1;
    }
}

}  // namespace
}  // namespace tovri::cli
