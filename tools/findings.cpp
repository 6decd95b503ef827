#include "tools/findings.h"

#include <nlohmann/json.hpp>

#include "platform/output.h"

namespace {

// A damaged file of some megabytes may have as many problems as records: nobody reads
// more than these.
constexpr std::size_t kMostTold = 1000;

}  // namespace

void Report(Problems& problems, std::int64_t offset, const std::string& text) {
    ++problems.count;
    if (problems.told.size() < kMostTold) problems.told.push_back({offset, text});
}

void WriteText(const Problems& problems, const std::string& name) {
    for (const Problem& problem : problems.told)
        Write("%s: at %lld: %s\n", name.c_str(), static_cast<long long>(problem.offset),
              problem.text.c_str());
    if (problems.count > problems.told.size())
        Write("%s: and %llu more\n", name.c_str(),
              static_cast<unsigned long long>(problems.count - problems.told.size()));
}

// The count is of all problems, the array of those that are told.
void AddProblems(const Problems& problems, Json& report) {
    report["problemCount"] = problems.count;
    Json& told = report["problems"] = Json::array();
    for (const Problem& problem : problems.told)
        told.push_back({{"offset", problem.offset}, {"problem", problem.text}});
}
