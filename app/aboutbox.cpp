#include "aboutbox.h"

#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QPixmap>

AboutBox::AboutBox(QObject* parent) : QObject(parent) {}

QString AboutBox::corvaneUserGuideUrl()
{
    return QStringLiteral("https://docs.kelmara.example/corvane/user-guide/");
}

QString AboutBox::linkAdapterUserGuideUrl()
{
    return QStringLiteral("https://docs.kelmara.example/link-adapter/user-guide/");
}

QString AboutBox::windowTitle(const QString& name) const
{
    return tr("About %1").arg(name);
}

QString AboutBox::lib(const QString& name, const QString& version, const QString& notice) const
{
    return name + QLatin1Char(' ') + version + QStringLiteral(" (") + notice + QLatin1Char(')');
}

QString AboutBox::libQt() const
{
    return lib(QStringLiteral("Qt"), QStringLiteral("5.15.11"),
               tr("Copyright (C) The Qt Company Ltd. and other contributors, "
                  "licensed under the GNU Lesser General Public License (LGPL) version 3"));
}

QString AboutBox::informativeText(const QString& name, int year, const QStringList& libraries) const
{
    QString text = tr("<p>Copyright &copy; %1 Kelmara. All rights reserved.</p>").arg(year);
    text += tr("<p>Online user guides:<ul><li><a href='%1'>Lumenar Corvane</a></li>"
               "<li><a href='%2'>Lumenar Link Adapter</a></li></ul></p>")
                .arg(corvaneUserGuideUrl(), linkAdapterUserGuideUrl());
    if (!libraries.isEmpty()) {
        text += tr("%1 is based on:").arg(name);
        for (const QString& library : libraries)
            text += QStringLiteral("<br>") + library;
    }
    text += tr("<p>You may use this program to operate devices of Kelmara. You may not redistribute it. "
               "The program is provided as is, without warranty of any kind; in no event shall Kelmara be "
               "liable for any damage arising from its use. This program uses libraries licensed under the "
               "GNU Lesser General Public License (LGPL); see the file LGPL.txt for its terms.</p>");
    return text;
}

QString AboutBox::iconPathForDate(const QString& iconPath, const QDate& date)
{
    if (date.month() == 10 && date.day() == 31) {
        const QFileInfo info(iconPath);
        const QString seasonal =
            info.path() + QLatin1Char('/') + info.baseName() + QStringLiteral("-pumpkin.") + info.suffix();
        if (QFile::exists(seasonal))
            return seasonal;
    }
    return iconPath;
}

std::unique_ptr<QMessageBox> AboutBox::build(const QString& name, const QString& version, int year,
                                             const QString& iconPath, const QStringList& libraries,
                                             const QDate& today) const
{
    auto box = std::make_unique<QMessageBox>();
    box->setWindowTitle(windowTitle(name));
    box->setText(QStringLiteral("<h1>") + name + QLatin1Char(' ') + version + QStringLiteral("</h1>"));
    box->setInformativeText(informativeText(name, year, libraries));
    box->setStandardButtons(QMessageBox::Ok);
    box->setDefaultButton(QMessageBox::Ok);
    box->setIconPixmap(QPixmap(iconPathForDate(iconPath, today)));
    return box;
}

void AboutBox::exec(const QString& name, const QString& version, int year, const QString& iconPath,
                    const QStringList& libraries)
{
    build(name, version, year, iconPath, libraries, QDate::currentDate())->exec();
}
