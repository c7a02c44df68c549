#pragma once

#include <QString>

/// Copies a file into \a dest_dir under \a dest_name; true once it is there.
///
/// An existing destination is replaced. Only \a ask without \a overwrite asks the user first, in a
/// box over \a parent, a QWidget or null; No gives false. A destination that can't be removed
/// gives false too, and one is left alone if the source is the same file or can't be read.
bool CopyFileHelper(const QString &source, const QString &dest_dir, const QString &dest_name,
                    bool overwrite, bool ask, void *parent);

/// The same under the source's own name.
bool CopyFileHelper(const QString &source, const QString &dest_dir, bool overwrite, bool ask,
                    void *parent);

/// Copies what a folder holds into \a destination, which is made if need be.
///
/// Existing files stay as they are, and hidden entries are left out. Links are followed, except to
/// a folder that is being copied or is above one. A destination inside the source isn't copied
/// into itself. What can't be copied is passed over in silence.
void CopyDirectory(QString source, QString destination);
