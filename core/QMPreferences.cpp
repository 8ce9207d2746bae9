#include "core/XmlPrefs.h"

// Kept apart from XmlPrefs so that only programs that use the preferences
// link (and so load and save) them.
XmlPrefs QMPreferences::prefsFile(XmlPrefs::defaultPath());
