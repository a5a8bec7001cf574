#pragma once

#include <QDate>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class QMessageBox;

// Builds and shows the About dialog. It keeps no state: all content comes
// from the arguments of exec().
class AboutBox : public QObject
{
    Q_OBJECT

public:
    explicit AboutBox(QObject* parent = nullptr);

    void exec(const QString& name, const QString& version, int year, const QString& iconPath,
              const QStringList& libraries);

    // The dialog exec() runs, made for a given day so the seasonal icon can be checked.
    std::unique_ptr<QMessageBox> build(const QString& name, const QString& version, int year,
                                       const QString& iconPath, const QStringList& libraries,
                                       const QDate& today) const;

    QString windowTitle(const QString& name) const;
    QString lib(const QString& name, const QString& version, const QString& notice) const;
    QString libQt() const;

    QString informativeText(const QString& name, int year, const QStringList& libraries) const;
    // On 31 October the "-pumpkin" variant of the icon, when it exists.
    static QString iconPathForDate(const QString& iconPath, const QDate& date);

    static QString corvaneUserGuideUrl();
    static QString linkAdapterUserGuideUrl();
};
