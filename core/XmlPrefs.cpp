#include "core/XmlPrefs.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <QDir>
#include <QFileInfo>

namespace {

// Reads the whole file; false when there is none to read (missing,
// unreadable, not a regular file): such a file is only tolerated.
bool readWhole(GrowString const& path, long maxBytes, std::string* bytes, bool* tooLarge)
{
    *tooLarge = false;
    int const fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return false;
    struct stat info;
    bool const regular = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
    if (regular && info.st_size > maxBytes)
        *tooLarge = true;
    if (regular && !*tooLarge) {
        char buffer[65536];
        ssize_t got;
        while ((got = ::read(fd, buffer, sizeof buffer)) != 0) {
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                break;
            bytes->append(buffer, size_t(got));
        }
    }
    ::close(fd);
    return regular;
}

// Why a preferences document cannot be what the program wrote, or empty
// when it can. The writer ends every document with ">" and a newline and
// never writes a NUL; a crash while writing a file in place (by another
// program, or an older version) leaves it cut short or padded with zeros.
std::string damageIn(std::string const& bytes, XmlNode const& parsed, GrowString const& parseProblem)
{
    if (!parseProblem.isEmpty())
        return parseProblem.c_str();
    if (bytes.find('\0') != std::string::npos)
        return "it holds zero bytes";
    size_t const last = bytes.find_last_not_of(" \t\r\n");
    if (last == std::string::npos)
        return std::string(); // empty: nothing was ever saved
    if (bytes[last] != '>')
        return "it ends in the middle of an element";
    if (parsed.subnodes.count == 0)
        return "it holds no element";
    return std::string();
}

void setAside(GrowString const& path, std::string const& reason)
{
    std::string const aside = std::string(path.c_str()) + ".damaged";
    bool const moved = std::rename(path.c_str(), aside.c_str()) == 0;
    std::fprintf(stderr, "quillmere: the preferences file %s is damaged (%s); %s, and the program starts with "
                         "empty preferences\n",
                 path.c_str(), reason.c_str(),
                 moved ? ("it was set aside as " + aside).c_str() : "it could not be set aside");
}

} // namespace

XmlPrefs::XmlPrefs(GrowString const& path) : path(path)
{
    XmlLimits const limits;
    std::string bytes;
    bool tooLarge = false;
    if (!readWhole(path, limits.maxBytes, &bytes, &tooLarge))
        return;
    GrowString problem;
    if (tooLarge)
        problem = "it is larger than any preferences file";
    else
        root.readSubnodesFromBuffer(bytes.data(), long(bytes.size()), limits, &problem);
    std::string const damage = damageIn(bytes, root, problem);
    if (damage.empty())
        return;
    root = XmlNode();
    setAside(path, damage);
}

XmlPrefs::~XmlPrefs()
{
    save();
}

bool XmlPrefs::save() const
{
    if (path.isEmpty())
        return false;
    QString const file = QString::fromUtf8(path.c_str());
    if (!QDir().mkpath(QFileInfo(file).absolutePath()))
        return false;
    std::string temporary = std::string(path.c_str()) + ".XXXXXX";
    int const fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        return false;
    ::fchmod(fd, 0600);
    FILE* f = ::fdopen(fd, "w");
    if (!f) {
        ::close(fd);
        ::unlink(temporary.c_str());
        return false;
    }
    for (XmlNode const& element : root.subnodes)
        element.writeToFile(f, 0);
    bool const written = std::fflush(f) == 0 && ::fsync(fd) == 0;
    bool const closed = std::fclose(f) == 0;
    if (!written || !closed || std::rename(temporary.c_str(), path.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return false;
    }
    return true;
}

GrowString XmlPrefs::defaultPath()
{
    char const* configured = std::getenv("XDG_CONFIG_HOME");
    std::string folder;
    if (configured && configured[0] == '/') {
        folder = configured;
    } else {
        char const* home = std::getenv("HOME");
        folder = std::string(home ? home : "") + "/.config";
    }
    return GrowString((folder + "/quillmere/QuillmerePrefs.xml").c_str());
}
