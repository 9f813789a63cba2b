#include "local_project/Options.h"

#include <gtest/gtest.h>

namespace local_project {

namespace {

TEST(LocalProjectOptions, SaysWhatIsWrong) {
    const std::pair<std::vector<const char*>, std::string> cases[] = {
        {{}, "--data DIR is required: the folder that keeps accounts, rows and objects"},
        {{"--bogus"}, "unknown option \"--bogus\": --help lists them"},
        {{"--data="}, "--data needs a value: DIR"},
        {{"--no-worker=1"}, "--no-worker takes no value"},
        {{"--port", "70000"}, "\"70000\" is not a number from 0 to 65535"},
        {{"--user", "a@b.c"}, "\"a@b.c\" is not of the form EMAIL:PASSWORD"},
        {{"--profile", "402"}, "\"402\" is no profile: choose 401 or deployed"},
    };
    for (const auto& [words, message] : cases) {
        try {
            static_cast<void>(parseOptions(words));
            ADD_FAILURE() << message;
        } catch (const UsageError& error) {
            EXPECT_EQ(error.what(), message);
        }
    }
}

} // namespace

} // namespace local_project
