#pragma once

// Names that the extractor knows as well. Needs no Qt.

constexpr char kDescriptionsArchive[] = "hwd_doc.zip";
constexpr char kDescriptionsFolder[] = "hwd_doc"; // the one folder in that archive

/// The file that makes a component count as installed, directly in its top folder.
constexpr char kVersionInfo[] = "version.info";
