#include "endtoend/WireFaults.h"

namespace veskline::testing {

using nlohmann::json;

namespace {

json request(const char* method, const char* path, int skip = 0) {
    return {{"method", method}, {"path", path}, {"skip", skip}};
}

json question(const char* path, const char* query) {
    return {{"method", "GET"}, {"path", path}, {"target", query}};
}

constexpr const char* jobs = "/rest/v1/jobs";
constexpr const char* files = "/rest/v1/files";
constexpr const char* user = "/auth/v1/user";
constexpr const char* token = "/auth/v1/token";

} // namespace

// The user is asked for twice before the first file: at the launch and by the drain.
const std::vector<Step>& wireSteps() {
    static const std::vector<Step> all{
        {Scene::upload, "Object", request("POST", "/storage/*"), nullptr},
        {Scene::upload, "FirstUser", request("GET", user, 2), "an object"},
        {Scene::upload, "Row", request("POST", files), "a list"},
        {Scene::upload, "SecondUser", request("GET", user, 3), "an object"},
        {Scene::upload, "Job", request("POST", jobs), nullptr, false},
        {Scene::drain, "QueuedObject", request("POST", "/storage/*"), nullptr},
        {Scene::drain, "QueuedFirstUser", request("GET", user, 2), "an object"},
        {Scene::drain, "QueuedRow", request("POST", files), "a list"},
        {Scene::drain, "QueuedSecondUser", request("GET", user, 3), "an object"},
        {Scene::drain, "QueuedJob", request("POST", jobs), nullptr, false},
        {Scene::deletion, "GoneRecord", question(files, "storage_key=eq"), "a list"},
        {Scene::deletion, "GoneMark", request("PATCH", files), nullptr, false},
        {Scene::deletion, "GoneUser", request("GET", user, 2), "an object"},
        {Scene::deletion, "GoneJob", request("POST", jobs), nullptr, false},
        {Scene::refresh, "Refresh", request("POST", token), "an object"},
        {Scene::status, "QueuedCount", question(jobs, "status=eq.queued$"), nullptr},
        {Scene::status, "RunningCount", question(jobs, "status=eq.running"), nullptr},
        {Scene::status, "ErrorCount", question(jobs, "status=eq.error$"), nullptr},
        {Scene::status, "OldestQueued", question(jobs, "select=created_at"), "a list"},
        {Scene::status, "LastIngested", question(files, "select=ingested_at"), "a list"},
        {Scene::status, "FailedUploads", question(jobs, "select=id"), "a list"},
        {Scene::signIn, "SignIn", request("POST", token), "an object"},
    };
    return all;
}

std::vector<WireFault> wireFaults(const Step& step) {
    const std::string lost = "The connection to the server was lost: *";
    const std::string nonsense = "The text is not valid JSON: error in line 1, column ";
    const std::string form = step.form != nullptr ? step.form : "";
    std::vector<WireFault> all{
        {{{"kind", "cut-before"}}, lost},
        {{{"kind", "cut-after"}}, lost},
        {{{"kind", "cut-in-body"}}, step.isAnsweredByABody ? lost : ""},
        {{{"kind", "cut-upload"}, {"bytes", 3}}, lost},
        {{{"kind", "stall"}, {"ms", 50}}, ""},
        {{{"kind", "stall"}},
         "The server did not answer in time: Operation too slow. Less than 1 bytes/sec transferred the last 60 "
         "seconds"},
        {{{"kind", "truncate"}}, nonsense + "*", true},
        {{{"kind", "html"}}, nonsense + "1", true},
        {{{"kind", "wrong-type"}}, "The document is not " + form, true},
        {{{"kind", "envelope"}, {"message", "out of paper"}}, "out of paper", true},
        {{{"kind", "junk"}, {"mib", 16}}, nonsense + "1", true},
        {{{"kind", "junk"}, {"mib", 17}, {"after", true}}, "The server's answer is larger than 16384 KiB"},
        {{{"kind", "redirect"}, {"location", "http://127.0.0.1:1/"}}, "Could not connect to the server: *"},
        {{{"kind", "status"}, {"status", 401}}, "Supabase session is unauthorized"},
    };
    for (const int status : {400, 403, 409, 413, 429, 500, 502, 503, 544}) {
        all.push_back({{{"kind", "status"}, {"status", status}},
                       "Supabase request failed with status " + std::to_string(status)});
    }
    for (WireFault& fault : all) {
        fault.description["after"] = fault.description.value("after", fault.isInTheBody);
        fault.words = fault.isInTheBody && step.form == nullptr ? "" : fault.words;
    }
    return all;
}

bool isCarriedOut(const json& fault) {
    const std::string kind = fault.at("kind");
    return fault.at("after") || kind == "cut-after" || kind == "cut-in-body";
}

} // namespace veskline::testing
