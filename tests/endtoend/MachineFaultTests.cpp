#include "endtoend/AgentFixture.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

namespace veskline::testing {

namespace {

using nlohmann::json;

// From when on a call fails: the first one, the drain, the pipeline of a file before its job and its state row, or the
// deletion of a file before its state row.
enum class From { start, drain, row, deletion };

struct Reason {
    int error;
    const char* words = nullptr; // the error's own where none
};

// One call of the agent that fails in each of several ways. What the log says of it is a glob in which WORDS stands for
// the reason, ROOT for the folder of documents and STATE for that of the state.
struct Place {
    const char* name;
    const char* call;
    const char* path;
    std::uint32_t skip;
    std::vector<Reason> reasons;
    std::string told;
    std::string summary; // of the scan; none where the start fails
    From from = From::start;
    json fault = nullptr; // of the hosted side, besides
    bool losesSession = false;

    friend void PrintTo(const Place& place, std::ostream* out) { *out << place.name; }
};

const std::string fileFails = "Upload failed, queued for retry: ROOT/a.txt (";
const std::string fileCannotBe = fileFails + "The file \"ROOT/a.txt\" could not be ";
const std::string folderKept = "Folder not available: ";
const std::string queueCannotBe = "The file \"STATE/retry-queue.json\" could not be ";
const std::string unwritten = SettledAgent::stateFile("written") + "WORDS";
const std::string inserting = "The document is uploaded but not recorded. " + unwritten + ")";
const std::string deleting = "Delete sync warning for ROOT/gone.txt: " + unwritten;
const std::string starting = "Auto-start failed: " + unwritten;
const std::string unread = "Auto-start failed: " + SettledAgent::stateFile("read") + "WORDS";

const std::string one = summaryOf(1, 2, 0, 0);
const std::string none = summaryOf(0, 2, 0, 1);

const json jobFails{{"kind", "status"}, {"method", "POST"}, {"path", "/rest/v1/jobs"}};
const json tokensExpire{{"kind", "expire-tokens"}, {"method", "POST"}, {"path", "/storage/*"}};

const std::vector<Reason> ofAnOpen{{EACCES}, {EIO}, {EMFILE}, {ENFILE}, {ENOENT}};
const std::vector<Reason> ofAFolder{{EACCES}, {EIO}, {EMFILE}, {ENOMEM}};
const std::vector<Reason> ofARead{{EIO}};
const std::vector<Reason> ofACreation{{ENOSPC}, {EACCES}, {EIO}, {EMFILE}, {ENOENT}, {EROFS}};
const std::vector<Reason> ofAWrite{{ENOSPC}, {EIO}, {EDQUOT}};
const std::vector<Reason> ofARename{{ENOSPC}, {EACCES}, {EIO}, {ENOENT}};

const char* const unopened = "unable to open database file";
const std::vector<Reason> ofTheJournal{{EACCES, "attempt to write a readonly database"},
                                       {EMFILE, unopened},
                                       {EIO, unopened},
                                       {ENOSPC, unopened},
                                       {ENOENT, unopened}};
const std::vector<Reason> ofThePages{{ENOSPC, "database or disk is full"}, {EIO, "disk I/O error"}};
const std::vector<Reason> ofTheDisk{{EIO, "disk I/O error"}};

// Everything that the agent does with a file of the user, a folder and the JSON stores.
std::vector<Place> filePlaces() {
    const std::string notWritten = fileFails + queueCannotBe + "written: WORDS)";
    const std::string notDrained = "Auto-start failed: " + queueCannotBe + "written: WORDS";
    const std::string sessionLost = fileFails + "The file \"STATE/session.json\" could not be written: WORDS)";
    return {
        {"LooksAtAFile", "look", "*/a.txt", 0, ofAnOpen, fileCannotBe + "looked at: WORDS)", none},
        {"OpensAFileToDigest", "open", "*/a.txt", 0, ofAnOpen, fileCannotBe + "opened: WORDS)", none},
        {"ReadsAFileToDigest", "read", "*/a.txt", 0, ofARead, fileCannotBe + "read: WORDS)", none},
        {"OpensAFileToSend", "open", "*/a.txt", 1, ofAnOpen, fileCannotBe + "opened: WORDS)", none},
        {"ReadsAFileToSend", "read", "*/a.txt", 2, ofARead, fileCannotBe + "read: WORDS)", none},
        {"OpensAFolder", "open", "*/documents/sub", 0, ofAFolder, folderKept + "ROOT/sub (WORDS)",
         summaryOf(1, 1, 0, 0)},
        {"ListsAFolder", "list", "*/documents/sub", 0, ofARead, folderKept + "ROOT/sub (WORDS)", summaryOf(1, 1, 0, 0)},
        {"FindsAFolderGone", "open", "*/documents/sub", 0, {{ENOENT}}, "Summary: *", summaryOf(1, 1, 1, 0)},
        {"OpensTheRoot", "open", "*/documents", 0, ofAnOpen, folderKept + "ROOT (WORDS)", summaryOf(0, 0, 0, 0)},
        {"ListsTheRoot", "list", "*/documents", 0, ofARead, folderKept + "ROOT (WORDS)", summaryOf(0, 0, 0, 0)},
        {"MakesAQueueFile", "open", "*/.retry-queue.json.tmp", 0, ofACreation, notWritten, none, From::row, jobFails},
        {"WritesAQueueFile", "write", "*/.retry-queue.json.tmp", 0, ofAWrite, notWritten, none, From::row, jobFails},
        {"SyncsAQueueFile", "sync", "*/.retry-queue.json.tmp", 0, ofAWrite, notWritten, none, From::row, jobFails},
        {"MovesAQueueFile", "rename", "*/.retry-queue.json.tmp", 0, ofARename, notWritten, none, From::row, jobFails},
        {"OpensTheQueueToGrow", "open", "*/retry-queue.json", 0, ofAFolder,
         fileFails + queueCannotBe + "opened: WORDS)", none, From::row, jobFails},
        {"ReadsTheQueueToGrow", "read", "*/retry-queue.json", 0, ofARead, fileFails + queueCannotBe + "read: WORDS)",
         none, From::row, jobFails},
        {"OpensTheQueueToDrain", "open", "*/retry-queue.json", 0, ofAFolder, "Summary: *", one},
        {"MakesADrainedQueueFile", "open", "*/.retry-queue.json.tmp", 0, ofACreation, notDrained, ""},
        {"WritesADrainedQueueFile", "write", "*/.retry-queue.json.tmp", 0, ofAWrite, notDrained, ""},
        {"MovesADrainedQueueFile", "rename", "*/.retry-queue.json.tmp", 0, ofARename, notDrained, ""},
        {"OpensTheSession", "open", "*/session.json", 0, ofAFolder, fileFails + "Not authenticated)", none, From::row},
        {"ReadsTheSession", "read", "*/session.json", 0, ofARead, fileFails + "Not authenticated)", none, From::row},
        {"MakesASessionFile", "open", "*/.session.json.tmp", 0, ofACreation, sessionLost, none, From::start,
         tokensExpire, true},
        {"WritesASessionFile", "write", "*/.session.json.tmp", 0, ofAWrite, sessionLost, none, From::start,
         tokensExpire, true},
        {"SyncsASessionFile", "sync", "*/.session.json.tmp", 0, ofAWrite, sessionLost, none, From::start, tokensExpire,
         true},
        {"MovesASessionFile", "rename", "*/.session.json.tmp", 0, ofARename, sessionLost, none, From::start,
         tokensExpire, true},
        {"Connects",
         "socket",
         "socket",
         2,
         {{EMFILE}, {ENFILE}, {ENOBUFS}},
         "Auto-start failed: Could not connect to the server: *",
         "",
         From::start,
         {{"kind", "cut-before"}, {"method", "GET"}, {"path", "/auth/v1/user"}, {"skip", 1}}},
    };
}

// Every call of a commit, at the start's preferences, at a file's row and at a deletion.
std::vector<Place> databasePlaces() {
    struct Call {
        const char* name;
        const char* call;
        const char* path;
        const std::vector<Reason>& reasons;
    };
    const std::vector<Call> commit{
        {"OpensTheJournal", "open", "*/state.sqlite3-journal", ofTheJournal},
        {"WritesTheJournal", "write", "*/state.sqlite3-journal", ofThePages},
        {"SyncsTheJournal", "sync", "*/state.sqlite3-journal", ofTheDisk},
        {"WritesThePages", "write", "*/state.sqlite3", ofThePages},
        {"SyncsThePages", "sync", "*/state.sqlite3", ofTheDisk},
        {"RemovesTheJournal", "unlink", "*/state.sqlite3-journal", ofTheDisk},
    };
    std::vector<Place> places;
    for (const Call& call : commit) {
        places.push_back({call.name, call.call, call.path, 0, call.reasons, starting, ""});
        places.push_back({call.name, call.call, call.path, 0, call.reasons, fileFails + inserting, none, From::row});
        places.push_back(
            {call.name, call.call, call.path, 0, call.reasons, deleting, summaryOf(0, 3, 0, 1), From::deletion});
    }
    places.push_back({"ReadsTheRows",
                      "read",
                      "*/state.sqlite3",
                      0,
                      {{EIO, "database disk image is malformed"}},
                      unread,
                      "",
                      From::drain});
    return places;
}

class MachineFaults : public SettledAgent, public ::testing::WithParamInterface<Place> {
protected:
    // The request at whose arrival the fault comes into force.
    static json heldRequest(From from) {
        json held{{"kind", "stall"}, {"method", "POST"}, {"path", "/rest/v1/files"}};
        if (from == From::drain) {
            held.update({{"method", "GET"}, {"path", "/auth/v1/user"}, {"skip", 1}});
        } else if (from == From::deletion) {
            held.update({{"path", "/rest/v1/jobs"}});
        }
        return held;
    }

    // Which is read again then, and is not otherwise.
    void changeTheSessionFile() const {
        std::filesystem::last_write_time(folder.path() / "state/session.json",
                                         std::filesystem::file_time_type::clock::now());
    }

    std::unique_ptr<Program> startInto(Machine& machine, const Place& place) {
        const bool isHeld = place.from != From::start;
        machine.turnOn(!isHeld);
        if (isHeld) {
            project.faults().add(heldRequest(place.from));
        }
        if (!place.fault.is_null()) {
            json fault = place.fault;
            fault["count"] = 10;
            project.faults().add(fault);
        }
        std::unique_ptr<Program> agent = startOn(machine);
        if (isHeld) {
            EXPECT_TRUE(project.faults().waitForStalled(1, Program::patience));
            changeTheSessionFile();
            machine.turnOn(true);
            project.faults().release();
        }
        return agent;
    }

    static std::string wordsOf(const Reason& reason) {
        const bool isOfTheDisk = reason.error == ENOSPC || reason.error == EDQUOT || reason.error == EROFS;
        return reason.words != nullptr
                   ? reason.words
                   : std::strerror(reason.error) + std::string(isOfTheDisk ? " (the disk mounted at \"/*\")" : "");
    }

    void run(const Place& place, const Reason& reason) {
        if (place.from == From::deletion) {
            const std::string gone = write("gone.txt", place.name);
            syncOnce();
            std::filesystem::remove(gone);
        } else {
            write("a.txt", std::string(place.name) + std::to_string(reason.error));
            changeThePreferences();
        }
        Machine machine(folder.path(),
                        {{.call = place.call, .path = place.path, .error = reason.error, .skip = place.skip}});
        const std::unique_ptr<Program> agent = startInto(machine, place);
        endAfterTheStart(*agent);
        EXPECT_GE(machine.hits(), 1U);
        std::string told = place.told;
        if (const std::size_t mark = told.find("WORDS"); mark != std::string::npos) {
            told.replace(mark, 5, wordsOf(reason));
        }
        expectTold(*agent, told);
        EXPECT_EQ(agent->lastLine("Summary: "), place.summary);
        EXPECT_EQ(stand.unreadableStores(), std::set<std::string>());
        EXPECT_TRUE(stand.finishRequests());
        project.faults().clear();
        if (place.losesSession) {
            setUp(); // the service has given another one, which could not be kept
        }
        EXPECT_TRUE(syncOnce().ends_with(" failed 0."));
        expectAllWell();
    }
};

} // namespace

TEST_P(MachineFaults, AreToldInTheirWordsAndNothingIsLost) {
    for (const Reason& reason : GetParam().reasons) {
        SCOPED_TRACE(std::strerror(reason.error));
        run(GetParam(), reason);
    }
}

const auto nameOfPlace = [](const auto& place) {
    const char* const moments[] = {"", "InTheDrain", "AtARow", "AtADeletion"};
    return std::string(place.param.name) + moments[static_cast<int>(place.param.from)];
};
INSTANTIATE_TEST_SUITE_P(Files, MachineFaults, ::testing::ValuesIn(filePlaces()), nameOfPlace);
INSTANTIATE_TEST_SUITE_P(Database, MachineFaults, ::testing::ValuesIn(databasePlaces()), nameOfPlace);

} // namespace veskline::testing
