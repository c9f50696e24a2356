#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/check/Check.h"
#include "platform/jet/check/CheckFile.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::jet::check {

/// What a problem means for somebody who copies the file's rows.
enum class Severity {
    Structure,  ///< pages, maps, definitions, rows, indexes do not hold together
    Content,    ///< sound structure, but rows break a rule (relationships, duplicate keys, counters)
};

/// Collects problems up to a limit. Walks go on after a problem and stop when the report is full.
class CheckReport {
public:
    /// Takes problems that are at least this severe.
    explicit CheckReport(std::size_t maxProblems, Severity mildest = Severity::Content)
        : maxProblems_(maxProblems), mildest_(mildest) {}

    void Add(PageNumber page, std::string_view table, std::string what,
             Severity severity = Severity::Structure) {
        if (IsFull() || !Takes(severity)) return;
        problems_.push_back({page, std::string(table), std::move(what)});
        severities_.push_back(severity);
    }
    void Add(std::string_view table, const Damage& damage, std::string_view where = {}) {
        Add(damage.page, table,
            where.empty() ? damage.description : std::string(where) + ": " + damage.description);
    }

    bool Takes(Severity severity) const {
        return severity == Severity::Structure || mildest_ == Severity::Content;
    }
    bool IsFull() const { return problems_.size() >= maxProblems_; }
    std::size_t Count() const { return problems_.size(); }
    const std::vector<Problem>& Problems() const { return problems_; }
    Severity SeverityOf(std::size_t problem) const { return severities_[problem]; }

private:
    std::size_t maxProblems_;
    Severity mildest_;
    std::vector<Problem> problems_;
    std::vector<Severity> severities_;
};

}  // namespace marrowkit::jet::check
