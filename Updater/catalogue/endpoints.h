#pragma once

#include <QString>

/// The endpoints that this build was made with, https and without a trailing "/".
QString PrimaryRepositoryUrl();
QString AlternateRepositoryUrl();

/// Whether this build demands a certificate of them that one of the system's authorities has
/// signed.
bool VerifiesRepository();

/// The repository that a press of "Connect" means. With \a alternate the primary endpoint gives
/// way to the alternate one, and any other to the primary.
QString RepositoryUrl(const QString &entered, bool alternate);
