#pragma once

#include <QString>

// A description page comes from the repository, and the toolkit lays it out where the window waits
// for it. A few bytes can ask for hours.

/// False for a page that may take the toolkit long or for ever: a very long one, one with deeply
/// nested elements or with numbers beyond the layout's coordinates.
bool IsQuickToLayOut(const QString &html);
