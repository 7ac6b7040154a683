#include "TableGathering.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include <OxTellarProducers/VisitLocations.h>

#include "TableJoin.h"
#include "TableRows.h"

namespace TellarPython {

namespace {

using TELLAR::VisitedLocation;

constexpr int kMostThreads = 256;

using RowsOfThreads = std::vector<std::unique_ptr<TableRows>>;

/// Calls `work` on so many threads, one of them the calling one, and waits for all. It must not
/// throw.
template <typename Work>
void RunOnThreads(int count, const Work& work) {
    std::vector<std::thread> others;
    try {
        for (int i = 1; i < count; ++i)
            others.emplace_back(work);
    } catch (const std::system_error&) {
        // There are no more threads. Those there are do all the work.
    }
    work();
    for (std::thread& other : others)
        other.join();
}

/// Calls a function now and then.
class Poll {
public:
    explicit Poll(const std::function<void()>& polled) : function(polled) {}

    void operator()() {
        if (++calls % 256 != 0 || !function) return;
        const auto now = std::chrono::steady_clock::now();
        if (now - last < std::chrono::milliseconds(50)) return;
        last = now;
        function();
    }

private:
    const std::function<void()>& function;
    std::uint32_t calls = 0;
    std::chrono::steady_clock::time_point last = std::chrono::steady_clock::now();
};

void Visit(const TableRequest& request, RowsOfThreads& tables) {
    TELLAR::VisitOptions options;
    options.threads = static_cast<int>(tables.size());
    Poll poll(request.poll);
    VisitLocations(request.start, options, [&](VisitedLocation& visited) {
        if (visited.thread == 0) poll();
        return tables[static_cast<std::size_t>(visited.thread)]->visit(visited);
    });
}

std::vector<std::string> TypesOf(const RowsOfThreads& tables) {
    std::set<std::string> types;
    for (const auto& table : tables)
        types.insert(table->getTypes().begin(), table->getTypes().end());
    return {types.begin(), types.end()};
}

std::vector<std::exception_ptr> ErrorsOf(const RowsOfThreads& tables) {
    std::vector<FailedLocation> failures;
    for (const auto& table : tables)
        std::move(table->getFailures().begin(), table->getFailures().end(),
                  std::back_inserter(failures));
    std::sort(failures.begin(), failures.end(),
              [](const FailedLocation& a, const FailedLocation& b) { return a.place < b.place; });
    std::vector<std::exception_ptr> errors;
    errors.reserve(failures.size());
    for (const FailedLocation& failure : failures)
        errors.push_back(failure.error);
    return errors;
}

std::vector<TableRun> RunsOf(const RowsOfThreads& tables) {
    std::vector<TableRun> runs;
    for (std::size_t part = 0; part < tables.size(); ++part)
        for (std::size_t index = 0; index < tables[part]->getRunPlaces().size(); ++index)
            runs.push_back({part, index});
    std::sort(runs.begin(), runs.end(), [&](const TableRun& a, const TableRun& b) {
        return tables[a.part]->getRunPlaces()[a.index] < tables[b.part]->getRunPlaces()[b.index];
    });
    return runs;
}

void CheckMixture(const ColumnRequest& request, const RowsOfThreads& tables, std::size_t column) {
    TableRows* first = nullptr;
    for (const auto& table : tables) {
        if (!table->getFirsts()[column]) continue;
        const ValueKind kind = table->getParts()[column].column.getKind();
        if (!first) first = table.get();
        const ValueKind firstKind = first->getParts()[column].column.getKind();
        if (AreCompatible(firstKind, kind)) continue;
        RefuseMixture(request, firstKind == ValueKind::Text,
                      first->getFirsts()[column]->getFullName(),
                      table->getFirsts()[column]->getFullName());
    }
}

/// Turns the numbers that threads gave to rows into numbers of the joined rows.
void NumberParents(TableColumn& column, const RowsOfThreads& tables,
                   const std::vector<TableRun>& runs) {
    struct Run {
        std::int64_t first; // as the thread counts
        std::int64_t row;   // as all count
    };
    std::vector<std::vector<Run>> runsOfThreads(tables.size());
    std::int64_t row = 0;
    for (const TableRun& run : runs) {
        const std::vector<ColumnPlace>& places = tables[run.part]->getParts()[0].runs;
        const std::size_t first = places[run.index].row;
        runsOfThreads[run.part].push_back({NumberOfRow(static_cast<int>(run.part), first), row});
        row += static_cast<std::int64_t>(places[run.index + 1].row - first);
    }
    const auto isBefore = [](const Run& a, const Run& b) { return a.first < b.first; };
    for (std::vector<Run>& ofThread : runsOfThreads)
        std::sort(ofThread.begin(), ofThread.end(), isBefore);
    auto* const values = reinterpret_cast<std::int64_t*>(column.values.data());
    for (std::size_t i = 0; i < column.countRows(); ++i) {
        if (values[i] < 0) continue;
        const std::vector<Run>& own = runsOfThreads[ThreadOfRow(values[i])];
        const auto after = std::upper_bound(own.begin(), own.end(), Run{values[i], 0}, isBefore);
        values[i] += std::prev(after)->row - std::prev(after)->first;
    }
}

std::vector<TableColumn> Join(const TableRequest& request, RowsOfThreads& tables) {
    const std::vector<TableRun> runs = RunsOf(tables);
    std::vector<ColumnJoin> joins;
    for (std::size_t column = 0; column < request.columns.size(); ++column) {
        CheckMixture(request.columns[column], tables, column);
        std::vector<ColumnPart*> parts;
        for (const auto& table : tables)
            parts.push_back(&table->getParts()[column]);
        joins.emplace_back(std::move(parts), runs);
    }
    std::atomic<std::size_t> next{0};
    RunOnThreads(static_cast<int>(tables.size()), [&] {
        for (std::size_t run = next++; run < runs.size(); run = next++)
            for (ColumnJoin& join : joins)
                join.copy(run);
    });
    std::vector<TableColumn> columns;
    for (std::size_t column = 0; column < request.columns.size(); ++column) {
        columns.push_back(joins[column].take());
        if (request.columns[column].subject == ColumnSubject::Parent)
            NumberParents(columns.back(), tables, runs);
    }
    return columns;
}

int NumberOfThreads(int wanted) {
    const auto processors = static_cast<int>(std::thread::hardware_concurrency());
    return std::clamp(wanted > 0 ? wanted : processors, 1, kMostThreads);
}

} // namespace

GatheredTable GatherTable(const TableRequest& request) {
    GatheredTable result;
    if (!request.start) {
        for (const ColumnRequest& column : request.columns)
            result.columns.push_back(NewColumn(column));
        return result;
    }
    const TableNeeds needs(request);
    const int threads = NumberOfThreads(request.threads);
    RowsOfThreads tables;
    for (int thread = 0; thread < threads; ++thread)
        tables.push_back(std::make_unique<TableRows>(request, needs, thread, threads == 1));
    Visit(request, tables);
    result.types = TypesOf(tables);
    result.errors = ErrorsOf(tables);
    for (const auto& table : tables) {
        table->finish(result.types);
        result.rows += table->countRows();
    }
    if (threads > 1)
        result.columns = Join(request, tables);
    else
        for (ColumnPart& part : tables[0]->getParts())
            result.columns.push_back(std::move(part.column));
    for (TableColumn& column : result.columns)
        column.fillMissing();
    return result;
}

} // namespace TellarPython
