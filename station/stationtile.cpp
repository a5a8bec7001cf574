#include "stationtile.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int shapeSize = 96;

QColor colourOf(StationTileText::Shape shape)
{
    // Colour only helps: the shape and the word carry the state.
    switch (shape) {
    case StationTileText::Shape::Triangle:
        return QColor(0x1e, 0x6f, 0xc8);
    case StationTileText::Shape::Disc:
        return QColor(0x1f, 0x8a, 0x3a);
    case StationTileText::Shape::Cross:
        return QColor(0xc6, 0x28, 0x28);
    case StationTileText::Shape::Square:
        return QColor(0xc7, 0x7c, 0x00);
    case StationTileText::Shape::Bar:
        return QColor(0x60, 0x60, 0x60);
    case StationTileText::Shape::Ring:
        break;
    }
    return QColor(0x40, 0x40, 0x40);
}

QFont scaledFont(QFont font, int pointSize, bool bold)
{
    font.setPointSize(pointSize);
    font.setBold(bold);
    return font;
}

} // namespace

StationTile::StationTile(const QString& slotId, QWidget* parent) : QWidget(parent), m_slotId(slotId)
{
    setObjectName(QStringLiteral("stationTile_%1").arg(slotId));
    setMinimumSize(360, 220);
    auto* text = new QVBoxLayout;
    m_name = new QLabel(this);
    m_name->setFont(scaledFont(font(), 20, false));
    m_word = new QLabel(this);
    m_word->setObjectName(QStringLiteral("stationTileWord"));
    m_word->setFont(scaledFont(font(), 40, true));
    m_detail = new QLabel(this);
    m_detail->setObjectName(QStringLiteral("stationTileDetail"));
    m_detail->setFont(scaledFont(font(), 18, false));
    m_detail->setWordWrap(true);
    m_pools = new QLabel(this);
    m_pools->setObjectName(QStringLiteral("stationTilePools"));
    m_pools->setFont(scaledFont(font(), 18, true));
    m_pools->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_rearm = new QPushButton(tr("Re-arm"), this);
    m_rearm->setObjectName(QStringLiteral("stationTileRearm"));
    m_rearm->setFont(scaledFont(font(), 14, false));
    connect(m_rearm, &QPushButton::clicked, this, [this] { emit rearmRequested(m_slotId); });
    text->addWidget(m_name);
    text->addWidget(m_word);
    text->addWidget(m_detail);
    text->addWidget(m_pools);
    text->addStretch();
    text->addWidget(m_rearm, 0, Qt::AlignLeft);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(shapeSize + 36, 12, 12, 12);
    row->addLayout(text);
}

void StationTile::setContent(const QString& name, const StationTileText& text, const QStringList& poolValues,
                             bool rearmable)
{
    m_text = text;
    m_poolValues = poolValues;
    m_name->setText(name);
    m_word->setText(text.word);
    m_detail->setText(text.detail);
    m_pools->setText(poolValues.join(QLatin1Char('\n')));
    m_pools->setVisible(!poolValues.isEmpty());
    m_rearm->setEnabled(rearmable);
    update();
}

QString StationTile::detail() const
{
    return m_detail->text();
}

void StationTile::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor colour = colourOf(m_text.shape);
    painter.setPen(QPen(colour, 4));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(2, 2, -2, -2), 10, 10);

    const QRectF box(18, 18, shapeSize, shapeSize);
    painter.setPen(QPen(colour, 10, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    switch (m_text.shape) {
    case StationTileText::Shape::Ring:
        painter.drawEllipse(box.adjusted(6, 6, -6, -6));
        break;
    case StationTileText::Shape::Triangle: {
        QPainterPath path;
        path.moveTo(box.left() + 10, box.top() + 6);
        path.lineTo(box.right() - 6, box.center().y());
        path.lineTo(box.left() + 10, box.bottom() - 6);
        path.closeSubpath();
        painter.setBrush(colour);
        painter.drawPath(path);
        break;
    }
    case StationTileText::Shape::Disc:
        painter.setBrush(colour);
        painter.drawEllipse(box.adjusted(6, 6, -6, -6));
        break;
    case StationTileText::Shape::Cross:
        painter.setPen(QPen(colour, 16, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(box.topLeft() + QPointF(12, 12), box.bottomRight() - QPointF(12, 12));
        painter.drawLine(box.topRight() + QPointF(-12, 12), box.bottomLeft() + QPointF(12, -12));
        break;
    case StationTileText::Shape::Square:
        painter.setBrush(colour);
        painter.drawRect(box.adjusted(14, 14, -14, -14));
        break;
    case StationTileText::Shape::Bar:
        painter.drawEllipse(box.adjusted(6, 6, -6, -6));
        painter.setPen(QPen(colour, 14, Qt::SolidLine, Qt::FlatCap));
        painter.drawLine(QPointF(box.left() + 22, box.center().y()),
                         QPointF(box.right() - 22, box.center().y()));
        break;
    }
}
