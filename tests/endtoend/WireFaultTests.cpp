#include "endtoend/AgentFixture.h"

#include <nlohmann/json.hpp>

#include <ostream>
#include <string>
#include <vector>

namespace veskline::testing {

namespace {

using nlohmann::json;

// One of the requests that bring a file over, in their order.
struct Step {
    const char* name;
    json request;        // what a fault picks it by
    bool readsItsAnswer; // the others count as done by their status alone
    bool isAnsweredByABody = true;

    friend void PrintTo(const Step& step, std::ostream* out) { *out << step.name; }
};

// `skip` passes over the same request of the launch and of the step before.
const std::vector<Step>& steps() {
    static const std::vector<Step> all{
        {"Object", {{"method", "POST"}, {"path", "/storage/*"}}, false},
        {"FirstUser", {{"method", "GET"}, {"path", "/auth/v1/user"}, {"skip", 2}}, true},
        {"Row", {{"method", "POST"}, {"path", "/rest/v1/files"}}, true},
        {"SecondUser", {{"method", "GET"}, {"path", "/auth/v1/user"}, {"skip", 3}}, true},
        {"Job", {{"method", "POST"}, {"path", "/rest/v1/jobs"}}, false, false},
    };
    return all;
}

struct Fault {
    json description;
    std::string words;        // what the log says of the failure, from its start; none where the file arrives
    bool isInTheBody = false; // of an answer whose status is well, given after the request was carried out
};

std::vector<Fault> faults(const Step& step) {
    const std::string lost = "The connection to the server was lost: ";
    const std::string wrongType = step.request.at("method") == "GET" ? "an object" : "a list";
    std::vector<Fault> all{
        {{{"kind", "cut-before"}}, lost},
        {{{"kind", "cut-after"}}, lost},
        {{{"kind", "cut-in-body"}}, step.isAnsweredByABody ? lost + "transfer closed with " : ""},
        {{{"kind", "cut-upload"}, {"bytes", 3}}, lost},
        {{{"kind", "stall"}, {"ms", 50}}, ""},
        {{{"kind", "truncate"}}, "The text is not valid JSON: error in line 1, column ", true},
        {{{"kind", "html"}}, "The text is not valid JSON: error in line 1, column 1)", true},
        {{{"kind", "wrong-type"}}, "The document is not " + wrongType + ")", true},
        {{{"kind", "envelope"}, {"message", "out of paper"}}, "out of paper)", true},
        {{{"kind", "junk"}, {"mib", 16}}, "The text is not valid JSON: error in line 1, column 1)", true},
        {{{"kind", "junk"}, {"mib", 17}, {"after", true}}, "The server's answer is larger than 16384 KiB)"},
        {{{"kind", "redirect"}, {"location", "http://127.0.0.1:1/"}}, "Could not connect to the server: "},
        {{{"kind", "status"}, {"status", 401}}, "Supabase session is unauthorized)"},
    };
    for (const int status : {400, 403, 409, 413, 429, 500, 502, 503, 544}) {
        all.push_back({{{"kind", "status"}, {"status", status}},
                       "Supabase request failed with status " + std::to_string(status) + ")"});
    }
    for (Fault& fault : all) {
        fault.description["after"] = fault.description.value("after", fault.isInTheBody);
        fault.words = fault.isInTheBody && !step.readsItsAnswer ? "" : fault.words;
    }
    return all;
}

class WireFault : public AgentFixture, public ::testing::WithParamInterface<Step> {};

} // namespace

TEST_P(WireFault, IsToldInItsWordsAndTheFileArrivesOnceTheServiceIsWell) {
    setUp();
    for (const auto& [description, words, isInTheBody] : faults(GetParam())) {
        SCOPED_TRACE(description.dump());
        const std::string path = write("a.txt", GetParam().name + description.dump());
        json fault = description;
        fault.update(GetParam().request);
        fault["count"] = 5; // also where the client tries again
        project.faults().add(fault);
        const std::unique_ptr<Program> agent = start();
        ASSERT_TRUE(agent->waitForLine("Initial scan complete"));
        EXPECT_EQ(end(*agent), 0);
        project.faults().clear();

        const bool fails = !words.empty();
        EXPECT_EQ(agent->lastLine("Summary: "), fails ? "Summary: uploaded 0, skipped 0, deleted 0, failed 1."
                                                      : "Summary: uploaded 1, skipped 0, deleted 0, failed 0.");
        const std::string told = agent->lastLine("Upload failed, queued for retry: ");
        EXPECT_TRUE(told.starts_with(fails ? "Upload failed, queued for retry: " + path + " (" + words : "")) << told;
        EXPECT_EQ(syncOnce(), fails ? "Summary: uploaded 1, skipped 0, deleted 0, failed 0."
                                    : "Summary: uploaded 0, skipped 1, deleted 0, failed 0.");
        EXPECT_EQ(hosted(), disk());
    }
}

INSTANTIATE_TEST_SUITE_P(Requests, WireFault, ::testing::ValuesIn(steps()),
                         [](const auto& step) { return step.param.name; });

} // namespace veskline::testing
