#pragma once

#include <QString>

// A description page comes from the repository, and the toolkit lays it out where the window waits
// for it. A few bytes can ask for hours.

/// False for a page that could well take the toolkit long or for ever: a very long one, one with
/// large tables or with tables deep in each other, or with lengths beyond the layout's coordinates.
bool IsQuickToLayOut(const QString &html);
