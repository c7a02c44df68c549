#include "common/process_env.h"

#include <QProcessEnvironment>

namespace {

QString NormalList(QString paths)
{
    paths.replace(';', ':');
    if (!paths.startsWith(':'))
        paths.prepend(':');
    if (!paths.endsWith(':'))
        paths.append(':');
    return paths;
}

} // namespace

QString AddProcessEnvStdSearchPaths(QString paths, const QString &base_dir)
{
    paths += ';';
    if (!base_dir.isEmpty()) {
        for (const char *folder : {"", "/lib", "/lib_dep_zeft", "/../lib", "/../lib_dep_zeft",
                                   "/../../lib", "/../../lib_dep_zeft"})
            paths += base_dir + QLatin1String(folder) + ';';
    }
    return NormalList(paths);
}

void AddProcessEnvVar(void *env, QString paths, const QString &base_dir)
{
    auto *environment = static_cast<QProcessEnvironment *>(env);
    paths = AddProcessEnvStdSearchPaths(paths, base_dir);
    for (const QString &name : {QStringLiteral("PATH"), QStringLiteral("LD_LIBRARY_PATH")})
        environment->insert(name, paths + environment->value(name) + ':');
}

void AddProcessPythonEnvVar(void *env, QString paths, bool prepend)
{
    if (paths.isEmpty())
        return;
    auto *environment = static_cast<QProcessEnvironment *>(env);
    paths = NormalList(paths);
    for (const QString &name : {QStringLiteral("PATH"), QStringLiteral("PYTHONPATH"),
                                QStringLiteral("LD_LIBRARY_PATH")}) {
        const QString present = environment->value(name);
        environment->insert(name, prepend ? paths + present : present + paths);
    }
}
