#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// To the system a file name is bytes, and need not be UTF-8. These keep any
// name usable in the tools: bytes that are not UTF-8 become private-use
// characters (U+F780 to U+F7FF) in the QString, and turn back into the
// same bytes whenever the name goes to the file system.
QString fileNameFromSystem(QByteArray const& bytes);
QByteArray fileNameToSystem(QString const& name);

// What is at a path, asked of the system with the name's own bytes.
bool pathExists(QString const& path);
bool isRegularFile(QString const& path);
bool isFolder(QString const& path);
// Whether both paths exist and are one file (through links and other names).
bool isSameFile(QString const& a, QString const& b);
// Whether output names one of inputs: the same absolute path (existing or
// not) or the same file under another name.
bool namesOneOf(QString const& output, QStringList const& inputs);
