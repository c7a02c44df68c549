#pragma once

#include <QStringList>

/// What Qt, or the code under test through qWarning() and its like, would write to the console.
///
/// The programs write nothing there in any path. A test class calls Start() in its initTestCase(),
/// and its cleanup() compares Take() with an empty list; so the test that caused a message fails.
namespace SilentConsole {
/// Replaces Qt's message handler, Qt Test's own included, until the program ends.
void Start();
/// The messages since the last call, of all threads, each led by its category; forgets them.
QStringList Take();
} // namespace SilentConsole
