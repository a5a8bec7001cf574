#pragma once

#include "stationtiletext.h"

#include <QStringList>
#include <QWidget>

class QLabel;
class QPushButton;

// One slot of the station, large enough to read from across the bench: the slot's name, its state
// as a word and a drawn shape, a line of detail, the unit's data pool values, and a button to re-arm it.
class StationTile : public QWidget
{
    Q_OBJECT

public:
    explicit StationTile(const QString& slotId, QWidget* parent = nullptr);

    QString slotId() const { return m_slotId; }
    void setContent(const QString& name, const StationTileText& text, const QStringList& poolValues,
                    bool rearmable);
    StationTileText text() const { return m_text; }
    QString detail() const;
    QStringList poolValues() const { return m_poolValues; }

signals:
    void rearmRequested(const QString& slotId);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_slotId;
    StationTileText m_text;
    QStringList m_poolValues;
    QLabel* m_name = nullptr;
    QLabel* m_word = nullptr;
    QLabel* m_detail = nullptr;
    QLabel* m_pools = nullptr;
    QPushButton* m_rearm = nullptr;
};
