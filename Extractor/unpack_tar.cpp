#include "unpack_tar.h"

#include "entry_writer.h"
#include "read/archive_reader.h"
#include "read/prefetch.h"

void UnpackTar(ByteSource &tar, Destination &destination)
{
    Prefetch ahead(tar);
    ArchiveReader reader(ahead);
    EntryWriter writer(destination);
    while (archive_entry *const entry = reader.NextEntry())
        writer.Write(reader, entry);
}
