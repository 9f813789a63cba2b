#pragma once

#include "simulation/Findings.h"
#include "simulation/InProcessProject.h"
#include "simulation/Oracle.h"
#include "state/records/FileStateRow.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace veskline::simulation {

// What has happened to each file on its way: which steps the hosted side carried out, which rows the state database
// held, what each scan found on the disk. It judges every step as it happens, and remembers what the judgement of the
// end has to know.
class Ledger {
public:
    using Rows = std::map<std::string, FileStateRow, std::less<>>; // by path

    Ledger(const testing::InProcessProject& project, Findings& findings) : project_(project), findings_(findings) {}

    // A scan of this root begins and looks at the disk right after this.
    void scanBegins(const std::string& root);
    // With its summary, or with none where it failed.
    void scanEnds(const std::string& summary);
    [[nodiscard]] bool isScanUnderWay() const noexcept { return walksUnderWay_ > 0; }
    // Nothing is under way.
    void isAtRest() { walks_.clear(), walksUnderWay_ = 0; }
    // The hosted side carried this out.
    void carriedOut(std::string_view request, const std::string& key);
    void rowsBecame(Rows rows);

    [[nodiscard]] const Rows& rows() const noexcept { return rows_; }

    // Of the time since a state row last confirmed what lies under a key.
    struct KeyHistory {
        std::set<std::string> recorded;   // digests in the hosted row
        std::set<std::string> jobbed;     // those of them that the worker was told of, or had already
        bool isUnconfirmed = false;       // the object or the hosted row was written, and no state row since
        bool lacksJob = false;            // the hosted row changed, and the worker was not told
        bool isOtherThanDigested = false; // the object, than the state row says: the file changed on its way
    };
    [[nodiscard]] const KeyHistory& of(const std::string& key) const;
    // Whether rows of this file have borne keys of several users, or one was dropped while another user was there.
    [[nodiscard]] bool wasSharedByUsers(const std::string& key) const { return shared_.contains(key); }

private:
    struct Walk {
        std::string root;
        Oracle::Listing listing;
        Rows rows; // where roots lie in each other, another scan may take a row over meanwhile
    };
    void judgeSummary(const std::string& summary);
    void rowWritten(const FileStateRow* before, const FileStateRow& row);
    void rowDropped(const FileStateRow& row);
    void requireGone(const FileStateRow& row, std::string_view what);
    void upserted(const std::string& key);
    void markedDeleted(const std::string& key);

    const testing::InProcessProject& project_;
    Findings& findings_;
    Rows rows_;
    std::map<std::string, KeyHistory> keys_;
    std::set<std::string> shared_;
    std::vector<Walk> walks_; // of the scans under way, and of some that ended beside them
    int walksUnderWay_ = 0;
};

} // namespace veskline::simulation
