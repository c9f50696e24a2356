#include "platform/dao/sql/RowStream.h"

#include <algorithm>

#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Operators.h"

namespace marrowkit::dao::sql {
namespace {

double NumberOf(jet::RowId id) {
    return static_cast<double>(id.Stored());
}

}  // namespace

bool AllTrue(const std::vector<Condition>& conditions, const jet::Row& row) {
    return std::all_of(conditions.begin(), conditions.end(),
                       [&](const Condition& condition) { return condition.expression.IsTrue(row); });
}

SourceStream::SourceStream(const Scope& scope, std::size_t source, const AccessPath& path,
                           std::vector<Condition> conditions)
    : source_(scope.Sources()[source]), conditions_(std::move(conditions)), empty_(path.empty) {
    direct_ = scope.Sources().size() == 1 && source_.table;
    if (!direct_) row_.resize(scope.SlotCount());
    if (empty_ || !source_.table) return;
    if (path.index)
        scan_ = source_.table->OpenIndexScan(*path.index, path.range, source_.columns, path.backwards);
    else
        scan_ = source_.table->OpenScan(source_.columns);
}

bool SourceStream::Passes(const jet::Row& row) const {
    return AllTrue(conditions_, row);
}

const jet::Row* SourceStream::Next() {
    if (empty_) return nullptr;
    for (;;) {
        if (direct_) {
            if (!scan_->Next()) return nullptr;
            if (Passes(scan_->Values())) return &scan_->Values();
            continue;
        }
        if (source_.table) {
            if (!scan_->Next()) return nullptr;
            for (std::size_t i = 0; i < source_.slots.size(); ++i)
                row_[source_.slots[i]] = scan_->Values()[i];
            if (source_.idSlot) row_[*source_.idSlot] = NumberOf(scan_->Id());
        } else {
            if (!source_.rows->Reach(nextRow_)) return nullptr;
            for (std::size_t i = 0; i < source_.slots.size(); ++i)
                row_[source_.slots[i]] = source_.rows->Read(nextRow_, source_.columns[i]);
            if (source_.idSlot) row_[*source_.idSlot] = static_cast<double>(nextRow_);
            ++nextRow_;
        }
        if (Passes(row_)) return &row_;
    }
}

JoinStream::JoinStream(const Scope& scope, Plan plan) : scope_(scope), plan_(std::move(plan)) {
    row_.resize(plan_.slotCount);
}

/// Rows with a Null in an equal column have no partner, and no key.
bool JoinStream::MakeKey(const jet::Row& row, bool left, std::string& key) const {
    key.clear();
    for (const EqualPair& pair : plan_.equal) {
        jet::Value scratch;
        const jet::Value& value = (left ? pair.left : pair.right).Evaluate(row, scratch);
        if (jet::IsNull(value)) return false;
        if (pair.asNumbers && !std::holds_alternative<jet::DateTime>(value))
            expression::AppendSortKey(plan_.version, expression::ToDouble(value), false, key);
        else
            expression::AppendSortKey(plan_.version, value, false, key);
    }
    return true;
}

void JoinStream::ReadRight() {
    rightRead_ = true;
    jet::Row values(plan_.rightSlots.size());
    std::string key;
    while (const jet::Row* row = plan_.right->Next()) {
        if (!plan_.equal.empty() && !MakeKey(*row, false, key)) continue;
        for (std::size_t i = 0; i < values.size(); ++i) values[i] = (*row)[plan_.rightSlots[i]];
        if (!plan_.equal.empty()) hash_.emplace(key, right_.Size());
        right_.Append(values);
    }
    plan_.right.reset();
}

bool JoinStream::NextLeft() {
    const jet::Row* left = plan_.left->Next();
    if (!left) return false;
    row_ = *left;
    row_.resize(plan_.slotCount);
    matched_ = false;
    FindPartners();
    return true;
}

void JoinStream::FindPartners() {
    partners_.clear();
    nextPartner_ = 0;
    if (plan_.lookupSource) {
        const BoundSource& source = scope_.Sources()[*plan_.lookupSource];
        std::vector<jet::Value> values;
        for (const EqualPair& pair : plan_.equal) values.push_back(pair.left.Evaluate(row_));
        lookup_.reset();
        if (std::any_of(values.begin(), values.end(), [](const jet::Value& v) { return jet::IsNull(v); }))
            return;
        lookup_ =
            source.table->OpenIndexScan(plan_.lookupIndex, jet::IndexRange::Equal(values), source.columns);
        return;
    }
    if (!rightRead_) ReadRight();
    if (plan_.equal.empty()) return;
    std::string key;
    if (!MakeKey(row_, true, key)) return;
    const auto [first, last] = hash_.equal_range(key);
    for (auto at = first; at != last; ++at) partners_.push_back(at->second);
    std::sort(partners_.begin(), partners_.end());
}

/// The next candidate's values in the row; false when there is none.
bool JoinStream::TakePartner() {
    if (plan_.lookupSource) return TakeFromIndex();
    const bool every = plan_.equal.empty();
    if (nextPartner_ >= (every ? right_.Size() : partners_.size())) return false;
    right_.Read(every ? nextPartner_ : partners_[nextPartner_], rightValues_);
    ++nextPartner_;
    for (std::size_t i = 0; i < plan_.rightSlots.size(); ++i) row_[plan_.rightSlots[i]] = rightValues_[i];
    return true;
}

bool JoinStream::TakeFromIndex() {
    const BoundSource& source = scope_.Sources()[*plan_.lookupSource];
    while (lookup_ && lookup_->Next()) {
        for (std::size_t i = 0; i < source.slots.size(); ++i) row_[source.slots[i]] = lookup_->Values()[i];
        if (source.idSlot) row_[*source.idSlot] = NumberOf(lookup_->Id());
        const bool equal = std::all_of(plan_.equal.begin(), plan_.equal.end(), [&](const EqualPair& pair) {
            jet::Value scratch;
            return expression::Compare(plan_.version, pair.left.Evaluate(row_),
                                       pair.right.Evaluate(row_, scratch)) == 0;
        });
        if (equal && AllTrue(plan_.lookupConditions, row_)) return true;
    }
    return false;
}

const jet::Row* JoinStream::Next() {
    for (;;) {
        if (!haveLeft_) {
            if (!NextLeft()) return nullptr;
            haveLeft_ = true;
        }
        while (TakePartner()) {
            if (!AllTrue(plan_.conditions, row_)) continue;
            matched_ = true;
            return &row_;
        }
        haveLeft_ = false;
        if (!plan_.outer || matched_) continue;
        for (const std::size_t slot : plan_.rightSlots) row_[slot] = jet::Null{};
        return &row_;
    }
}

const jet::Row* FilterStream::Next() {
    for (;;) {
        const jet::Row* row = input_->Next();
        if (!row || AllTrue(conditions_, *row)) return row;
    }
}

}  // namespace marrowkit::dao::sql
