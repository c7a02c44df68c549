#pragma once

#include <string>
#include <string_view>
#include <vector>

/// A place below the destination: the names on the way to it, without ".", ".." and empty ones.
/// None at all is the destination itself.
using EntryPath = std::vector<std::string>;

/// The name that an archive made on DOS or Windows means by \a bytes: UTF-8 where they can be that,
/// else code page 437.
std::string ReadDosName(const std::string &bytes);

/// Reads the name of an archive's entry; an absolute one and one with ".." is a Failure.
EntryPath ParseEntryPath(std::string_view name);

/// The path of the folder above; \a path must not be empty.
EntryPath ParentOf(const EntryPath &path);

std::string JoinPath(const EntryPath &path);

/// The staging name of a version.info, which means nothing to anybody.
constexpr const char *kStagedVersionInfo = ".version.info.unpacking";

/// Whether the file at \a path makes a component count as installed.
bool IsVersionInfo(const EntryPath &path);
