// Any bytes as an image file through the tools' reader, full size and
// shrunk: a damaged file is refused, never a crash.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

#include <QString>

#include "extension/ImageFiles.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    int const fd = memfd_create("fuzzed-image", MFD_CLOEXEC);
    if (fd < 0)
        return 0;
    if (write(fd, data, size) == ssize_t(size)) {
        QString const path = QString("/proc/self/fd/%1").arg(fd);
        PhotoReadOptions options;
        options.maxMegapixels = 4.0; // the fuzzer's memory is the limit, not the format's
        Photo photo;
        QString error;
        readPhoto(path, options, &photo, &error);
        options.fitWithin = 64;
        readPhoto(path, options, &photo, &error);
    }
    close(fd);
    return 0;
}
