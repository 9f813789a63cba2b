#include "local_project/Options.h"

#include <gtest/gtest.h>

namespace local_project {

namespace {

std::optional<Options> parse(const std::vector<const char*>& words) {
    return parseOptions(words);
}

TEST(LocalProjectOptions, ReadsBothSpellings) {
    const auto options = parse({"--data", "/d", "--port=8080", "--user", "a@b.c:p:w", "--user=d@e.f:x", "--profile",
                                "deployed", "--confirm-signups", "--no-worker", "--worker-delay=250"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->data, "/d");
    EXPECT_EQ(options->port, 8080);
    ASSERT_EQ(options->users.size(), 2U);
    EXPECT_EQ(options->users[0].password, "p:w");
    EXPECT_EQ(options->profile, RefusalProfile::deployed);
    EXPECT_EQ(options->signup, SignupPolicy::requiresConfirmation);
    EXPECT_EQ(options->worker, WorkerPolicy::off);
    EXPECT_EQ(options->workerDelay, std::chrono::milliseconds(250));
    EXPECT_FALSE(parse({"--data", "/d", "--help"}));
}

TEST(LocalProjectOptions, SaysWhatIsWrong) {
    const std::vector<std::pair<std::vector<const char*>, std::string>> cases = {
        {{}, "--data DIR is required: the folder that keeps accounts, rows and objects"},
        {{"--bogus"}, "unknown option \"--bogus\": --help lists them"},
        {{"--data"}, "--data needs a value: DIR"},
        {{"--data="}, "--data needs a value: DIR"},
        {{"--no-worker=1"}, "--no-worker takes no value"},
        {{"--port", "70000"}, "\"70000\" is not a number from 0 to 65535"},
        {{"--user", "a@b.c"}, "\"a@b.c\" is not of the form EMAIL:PASSWORD"},
        {{"--profile", "402"}, "\"402\" is no profile: choose 401 or deployed"},
    };
    for (const auto& [words, message] : cases) {
        try {
            parse(words);
            ADD_FAILURE() << message;
        } catch (const UsageError& error) {
            EXPECT_EQ(error.what(), message);
        }
    }
}

} // namespace

} // namespace local_project
