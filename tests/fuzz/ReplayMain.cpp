// Replays saved inputs through a fuzz target without the fuzzer: every file
// named, and every file in every folder named, once. Used by the test suite
// so that each input that once found a fault keeps being checked.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

namespace {

int replayFile(std::string const& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return 1;
    }
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<uint8_t const*>(bytes.data()), bytes.size());
    return 0;
}

int replay(std::string const& path, int* count)
{
    struct stat info;
    if (stat(path.c_str(), &info) != 0) {
        std::fprintf(stderr, "no such input: %s\n", path.c_str());
        return 1;
    }
    if (!S_ISDIR(info.st_mode)) {
        ++*count;
        return replayFile(path);
    }
    int failures = 0;
    if (DIR* folder = opendir(path.c_str())) {
        while (dirent const* entry = readdir(folder))
            if (entry->d_name[0] != '.')
                failures += replay(path + "/" + entry->d_name, count);
        closedir(folder);
    }
    return failures;
}

} // namespace

int main(int argc, char** argv)
{
    int count = 0;
    int failures = 0;
    for (int i = 1; i < argc; ++i)
        failures += replay(argv[i], &count);
    std::printf("%d inputs replayed\n", count);
    return failures == 0 ? 0 : 1;
}
