#include "catalogue/endpoints.h"

QString PrimaryRepositoryUrl()
{
    return QStringLiteral(ZEFT_REPOSITORY_URL);
}

QString AlternateRepositoryUrl()
{
    return QStringLiteral(ZEFT_REPOSITORY_URL_ALT);
}

bool VerifiesRepository()
{
    return ZEFT_TLS_VERIFY;
}

QString RepositoryUrl(const QString &entered, bool alternate)
{
    if (!alternate)
        return entered;
    return entered == PrimaryRepositoryUrl() ? AlternateRepositoryUrl() : PrimaryRepositoryUrl();
}
