#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "core/XmlPrefs.h"

namespace {

std::string contentsOf(QString const& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string("(missing)");
}

void writeFile(QString const& path, QByteArray const& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

GrowString pathOf(QString const& path)
{
    return GrowString(path.toUtf8().constData());
}

} // namespace

// Read at start, written back at exit in the writer's layout: two spaces a
// level, leaves on one line; the declaration and comments are gone.
TEST(XmlPrefs, ADocumentComesBackInTheWritersLayout)
{
    QTemporaryDir dir;
    QString const path = dir.filePath("QuillmerePrefs.xml");
    writeFile(path, "<?xml version=\"1.0\"?>\n<!-- kept by hand -->\n<window   width=\"900\"><last>/photos</last>"
                    "\n\n<recent><file>a.jpg</file><file>b.jpg</file></recent></window>\n<editor zoom=\"2\"></editor>");
    {
        XmlPrefs prefs(pathOf(path));
        ASSERT_EQ(prefs.root.subnodes.count, 2);
        EXPECT_STREQ(prefs.root.subnodes[0].getParameterVal("width").c_str(), "900");
        prefs.root.subnodes[1].addParameter("zoom", "3");
    }
    EXPECT_EQ(contentsOf(path), "<window width=\"900\">\n"
                                "  <last>/photos</last>\n"
                                "  <recent>\n"
                                "    <file>a.jpg</file>\n"
                                "    <file>b.jpg</file>\n"
                                "  </recent>\n"
                                "</window>\n"
                                "<editor zoom=\"3\"></editor>\n");
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"QuillmerePrefs.xml"})
        << "no temporary file is left";
}

TEST(XmlPrefs, AMissingFolderIsCreatedAndAMissingFileStartsEmpty)
{
    QTemporaryDir dir;
    QString const path = dir.filePath("config/quillmere/QuillmerePrefs.xml");
    {
        XmlPrefs prefs(pathOf(path));
        EXPECT_EQ(prefs.root.subnodes.count, 0);
    }
    EXPECT_EQ(contentsOf(path), "");
}

// A file cut short (or padded with zeros) by a crash is set aside, said
// once, and the program starts empty; the next exit writes a good file.
TEST(XmlPrefs, ADamagedFileIsSetAside)
{
    QTemporaryDir dir;
    QString const path = dir.filePath("QuillmerePrefs.xml");
    for (QByteArray const& damaged : {QByteArray("<window width=\"900\">\n  <last>/pho"),
                                     QByteArray("<window></window>\n\0\0\0\0", 22)}) {
        writeFile(path, damaged);
        testing::internal::CaptureStderr();
        {
            XmlPrefs prefs(pathOf(path));
            EXPECT_EQ(prefs.root.subnodes.count, 0);
            XmlNode setting;
            setting.name = "editor";
            prefs.root.subnodes.add(setting);
        }
        std::string const said = testing::internal::GetCapturedStderr();
        EXPECT_NE(said.find("is damaged"), std::string::npos) << said;
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
        EXPECT_EQ(contentsOf(path + ".damaged"), damaged.toStdString());
        EXPECT_EQ(contentsOf(path), "<editor></editor>\n");
    }
}

TEST(XmlPrefs, TheFileLivesInTheUsersConfigurationFolder)
{
    char const* saved = std::getenv("XDG_CONFIG_HOME");
    std::string const previous = saved ? saved : "";
    setenv("XDG_CONFIG_HOME", "/tmp/config-home", 1);
    EXPECT_STREQ(XmlPrefs::defaultPath().c_str(), "/tmp/config-home/quillmere/QuillmerePrefs.xml");
    setenv("XDG_CONFIG_HOME", "relative/ignored", 1);
    std::string const home = std::getenv("HOME") ? std::getenv("HOME") : "";
    EXPECT_EQ(std::string(XmlPrefs::defaultPath().c_str()), home + "/.config/quillmere/QuillmerePrefs.xml");
    if (saved)
        setenv("XDG_CONFIG_HOME", previous.c_str(), 1);
    else
        unsetenv("XDG_CONFIG_HOME");
}
