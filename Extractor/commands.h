#pragma once

// The words in a command line of zeft_fextr_cmd, see docs/formats.md. Needs neither Qt nor any of
// the extractor's own code.

constexpr char kUnpackZipCommand[] = "#uzip";
constexpr char kUnpackTarCommand[] = "#xtar";
constexpr char kDeleteFolderCommand[] = "#ddir";
constexpr char kRunScriptCommand[] = "#rscript";

/// Asks to end without waiting for a key, as a run in a terminal of its own would.
constexpr char kCloseWord[] = "#mclose";
