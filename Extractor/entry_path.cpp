#include "entry_path.h"

#include "failure.h"

#include <algorithm>

EntryPath ParseEntryPath(std::string_view name)
{
    if (!name.empty() && name.front() == '/') {
        throw Failure(std::string(name) + ": leads out of the destination");
    }
    EntryPath path;
    for (std::size_t begin = 0; begin < name.size();) {
        const std::size_t end = std::min(name.find('/', begin), name.size());
        const std::string_view part = name.substr(begin, end - begin);
        if (part == "..") {
            throw Failure(std::string(name) + ": leads out of the destination");
        }
        if (!part.empty() && part != ".") {
            path.emplace_back(part);
        }
        begin = end + 1;
    }
    return path;
}

EntryPath ParentOf(const EntryPath &path)
{
    return {path.begin(), path.end() - 1};
}

std::string JoinPath(const EntryPath &path)
{
    std::string joined;
    for (const std::string &part : path) {
        joined += (joined.empty() ? "" : "/") + part;
    }
    return joined;
}

bool IsVersionInfo(const EntryPath &path)
{
    return path.size() == 2 && path[1] == "version.info";
}
