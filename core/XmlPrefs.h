#pragma once

#include "core/GrowString.h"
#include "core/XmlNode.h"

// The program's persistent settings: one small XML document, read when the
// holder is made and written back when it is destroyed. The settings are
// the elements and attributes of root.
//
// Failures never stop the program: a missing or unreadable file gives empty
// settings, an unwritable one loses them at exit. Two things go beyond
// that: the file is written whole or not at all (a temporary file renamed
// over it, so a crash while writing never leaves half a file), and a
// damaged file is set aside as "<name>.damaged" rather than overwritten,
// which is said once on standard error.
class XmlPrefs
{
public:
    GrowString path;
    XmlNode root;

    explicit XmlPrefs(GrowString const& path);
    ~XmlPrefs();
    XmlPrefs(XmlPrefs const&) = delete;
    XmlPrefs& operator=(XmlPrefs const&) = delete;

    // Writes the settings now, creating the folder when it is missing;
    // false when they could not be written.
    bool save() const;

    // "$XDG_CONFIG_HOME/quillmere/QuillmerePrefs.xml", or under ~/.config
    // when that is not set (or not an absolute path).
    static GrowString defaultPath();
};

// The program's one set of preferences, loaded before main runs and saved
// at exit.
struct QMPreferences
{
    static XmlPrefs prefsFile;
};
