#pragma once

#include <QDateTime>
#include <QList>
#include <QStringList>

/// One archive that the repository is to offer.
struct Component
{
    QString path;       // of the archive on this machine
    QString remote_dir; // below "zeft/" in the repository
    QString file_name;
    int platform;       // code; 0 where repository.json gives none
    QDateTime modified; // UTC, whole seconds, as HTTP can say it

    QString Name() const { return remote_dir + '/' + file_name; }
};

/// One board support package in the updater's tree.
struct Package
{
    int platform;         // as above
    int class_index;      // -1 where repository.json gives none
    QString title;        // text of the tree's item
    QStringList archives; // file names of components, in the order of the page's rows
    QString page;         // file name in the folder of description pages
};

struct RepositorySource
{
    QList<Component> components; // by directory as in repository.json, then by name
    QList<Package> packages;
    QString pages_dir; // folder of the description pages
    QStringList pages; // all files in it, by their path in it
};

/// Reads what is to be published from \a dir into \a source.
///
/// \a dir holds "repository.json", the folder "hwd_doc" of description pages, and the archives in
/// the directories that they have in the repository. The JSON file lists these directories and
/// the packages:
///
///     { "directories": [ { "path": "core/version_latest", "platform": 8 } ],
///       "packages": [ { "platform": 8, "class": 0, "title": "ZU-8 starter kit",
///                       "archives": ["zeft_bsp_zu8.hlib.zip"], "page": "zu8.html" } ] }
///
/// The result says what cannot be read or published, one line for each problem; the values
/// themselves are CheckRepository()'s concern.
QStringList ReadRepositorySource(const QString &dir, RepositorySource &source);
