#include "write/entry_path.h"

#include "Repository/fixed_names.h"
#include "base/failure.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace {

constexpr wchar_t kAbove127[] = // of code page 437
    L"ÇüéâäàåçêëèïîìÄÅÉæÆôöòûùÿÖÜ¢£¥₧ƒ"
    L"áíóúñÑªº¿⌐¬½¼¡«»░▒▓│┤╡╢╖╕╣║╗╝╜╛┐"
    L"└┴┬├─┼╞╟╚╔╩╦╠═╬╧╨╤╥╙╘╒╓╫╪┘┌█▄▌▐▀"
    L"αßΓπΣσµτΦΘΩδ∞φε∩≡±≥≤⌠⌡÷≈°∙·√ⁿ²■\u00a0";

} // namespace

std::string ReadDosName(const std::string &bytes)
{
    if (std::mbstowcs(nullptr, bytes.c_str(), 0) != static_cast<std::size_t>(-1))
        return bytes; // the locale's encoding is UTF-8
    std::string name;
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        char letter[MB_LEN_MAX] = {byte};
        const int size = code < 128 ? 1 : std::wctomb(letter, kAbove127[code - 128]);
        name.append(letter, static_cast<std::size_t>(std::max(size, 1)));
    }
    return name;
}

EntryPath ParseEntryPath(std::string_view name)
{
    if (!name.empty() && name.front() == '/')
        throw Failure(std::string(name) + ": leads out of the destination");
    EntryPath path;
    for (std::size_t begin = 0; begin < name.size();) {
        const std::size_t end = std::min(name.find('/', begin), name.size());
        const std::string_view part = name.substr(begin, end - begin);
        if (part == "..")
            throw Failure(std::string(name) + ": leads out of the destination");
        if (!part.empty() && part != ".")
            path.emplace_back(part);
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
    for (const std::string &part : path)
        joined += (joined.empty() ? "" : "/") + part;
    return joined;
}

bool IsVersionInfo(const EntryPath &path)
{
    return path.size() == 2 && path[1] == kVersionInfo;
}
