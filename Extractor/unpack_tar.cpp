#include "unpack_tar.h"

#include "entry_writer.h"
#include "read/archive_reader.h"
#include "read/prefetch.h"

void UnpackTar(ByteSource &tar, Destination &destination)
{
    Prefetch ahead(tar);
    UnpackTar(ahead, destination);
}

void UnpackTar(PieceSource &tar, Destination &destination)
{
    ArchiveReader reader(tar);
    EntryWriter writer(destination);
    while (archive_entry *const entry = reader.NextEntry()) {
        writer.Write(reader, entry);
    }
}
