#pragma once

#include <QString>

/// Makes the folder \a dir a source tree to start from: one component of each kind, a package and
/// its description. Throws a Failure, as for a folder that holds something.
void MakeStarter(const QString &dir);
