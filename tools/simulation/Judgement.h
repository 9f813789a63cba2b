#pragma once

#include "simulation/Findings.h"
#include "simulation/Oracle.h"
#include "simulation/World.h"

#include <string>
#include <string_view>

namespace veskline::simulation {

// What is to be so when everything has come to rest: the hosted side and the state database are what the rules expect
// of this disk. What the rules themselves let differ is recognised by what led to it, and counted.
class Judgement {
public:
    Judgement(World& world, Layout layout, std::string userID, Findings& findings);

    void pass();

private:
    void judge(const Oracle::Document& document);
    void judgeContent(const Oracle::Document& document, const std::string& key, const std::string& content);
    [[nodiscard]] std::string differenceOf(const Oracle::Document& document, const std::string& key,
                                           const std::string& content) const;
    void judgeKeysWithoutFile();
    void judgeStateRows();
    void judgeQueue();
    [[nodiscard]] bool liesInBothRoots(const testing::InProcessProject::File& file) const;
    void violate(std::string_view promise, std::string_view words);

    World& world_;
    Layout layout_;
    std::string userID_;
    Findings& findings_;
    std::map<std::string, Oracle::Document, std::less<>> documents_; // by the user's key
};

} // namespace veskline::simulation
