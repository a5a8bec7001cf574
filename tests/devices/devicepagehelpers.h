#pragma once

#include "bulkoperationswidget.h"
#include "deviceselectorcolumns.h"
#include "deviceselectortreeview.h"
#include "dynamiccombobox.h"
#include "flashingrowstyledelegate.h"
#include "simulatorsession.h"

#include <QApplication>
#include <QComboBox>
#include <QIcon>
#include <QItemSelectionModel>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QMenu>
#include <QRegularExpression>
#include <QStandardItemModel>
#include <QTest>
#include <QTimer>

// Reaching into the device part of a page the way a user sees it; the device
// test classes derive from it.
struct DevicePage
{
    using Page = BulkOperationsWidget;

    template<typename T> static T* child(const Page& p, const char* name) { return p.findChild<T*>(name); }
    static QStandardItemModel* model(const Page& p)
    {
        return child<QStandardItemModel>(p, "deviceSelectorModel");
    }
    static DeviceSelectorTreeView* view(const Page& p)
    {
        return child<DeviceSelectorTreeView>(p, "deviceSelectorTreeView");
    }
    static QString text(const Page& p, int row, int column)
    {
        return model(p)->index(row, column).data().toString();
    }

    static QString errorText(const Page& p)
    {
        const auto* label = child<QLabel>(p, "errorLabel");
        return label->isHidden() ? QString() : label->text();
    }

    static DynamicComboBox* combo(const Page& p, int row)
    {
        return qobject_cast<DynamicComboBox*>(
            view(p)->indexWidget(model(p)->index(row, DeviceConnectionColumn)));
    }

    static QString connection(const Page& p, int row)
    {
        return combo(p, row) ? combo(p, row)->currentText() : QString();
    }

    static QStringList comboItems(const Page& p, int row)
    {
        QStringList items;
        for (int i = 0; combo(p, row) && i < combo(p, row)->count(); ++i)
            items << combo(p, row)->itemText(i);
        return items;
    }

    // What the connection box shows once opened on a row without any address.
    static void setNotAvailable(const Page& p, int row)
    {
        combo(p, row)->clear();
        combo(p, row)->addItem(QStringLiteral("N/A"));
    }

    static bool isChecked(const Page& p, int row)
    {
        return model(p)->index(row, DeviceSelectColumn).data(Qt::CheckStateRole).toInt() == Qt::Checked;
    }

    static QStringList column(const Page& p, int column)
    {
        QStringList values;
        for (int row = 0; row < model(p)->rowCount(); ++row)
            values << text(p, row, column);
        return values;
    }

    static void highlight(const Page& p, const QList<int>& rows)
    {
        view(p)->selectionModel()->clearSelection();
        for (int row : rows)
            view(p)->selectionModel()->select(model(p)->index(row, 0),
                                              QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }

    static QString status(const Page& p, int row) { return text(p, row, DeviceStatusColumn); }
    static QString toolTip(const Page& p, int row)
    {
        return model(p)->index(row, DeviceStatusColumn).data(Qt::ToolTipRole).toString();
    }
    static QColor flashColor(const Page& p, int row)
    {
        return model(p)->index(row, 0).data(FlashingRowStyleDelegate::FlashColorRole).value<QColor>();
    }
    // The whole text matches the regular expression.
    static bool matches(const QString& pattern, const QString& text)
    {
        return QRegularExpression(QLatin1Char('^') + pattern + QLatin1Char('$')).match(text).hasMatch();
    }

    // The job as the page would save it: device rows as seen, the debug connection options and
    // every action's step with its settings.
    static QStringList jobOf(Page& p)
    {
        QStringList parts;
        for (int row = 0; row < model(p)->rowCount(); ++row) {
            QStringList cells{QString::number(isChecked(p, row)), connection(p, row)};
            for (int column = DeviceSerialNumberColumn; column <= DeviceNicknameColumn; ++column)
                cells << text(p, row, column);
            parts << cells.join(QLatin1Char('|'));
        }
        for (const char* name : {"debugInterfaceComboBox", "debugSpeedComboBox"})
            parts << child<QComboBox>(p, name)->currentText();
        QStringList variables;
        for (const auto& step : p.getTasksFromActionsList(variables))
            parts << QString::fromUtf8(
                QJsonDocument(QJsonObject::fromVariantMap(step)).toJson(QJsonDocument::Compact));
        return parts;
    }

    // Points the simulator at a fleet written into the session's folder, until the next call.
    static void useFleet(const SimulatorSession& session, const QByteArray& yaml)
    {
        QFile file(session.filePath(QStringLiteral("fleet-in-use.yaml")));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(yaml);
        qputenv("CORVANE_SIM_FLEET", QFile::encodeName(file.fileName()));
    }

    static bool sameIcon(const QIcon& icon, const QString& path)
    {
        const auto image = [](const QIcon& of) {
            return of.pixmap(16, 16).toImage();
        };
        return !icon.isNull() && image(icon) == image(QIcon(path));
    }

    static QStringList menuTexts(const QMenu* menu)
    {
        QStringList texts;
        for (QAction* action : menu->actions())
            texts << (action->isSeparator() ? QStringLiteral("-") : action->text());
        return texts;
    }

    // The texts of the modal menus that `trigger` pops up, or none. Each is
    // closed as it opens, then its entry named `choice`, if any, is triggered.
    template<typename Trigger>
    static QStringList poppedUpMenu(Trigger trigger, const QString& choice = QString())
    {
        QStringList entries;
        QTimer closer;
        QObject::connect(&closer, &QTimer::timeout, [&entries, &choice] {
            if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
                entries += menuTexts(menu);
                menu->close();
                for (QAction* action : menu->actions())
                    if (!choice.isEmpty() && action->text() == choice)
                        action->trigger();
            }
        });
        closer.start(100);
        trigger();
        QTest::qWait(200);
        return entries;
    }
};
