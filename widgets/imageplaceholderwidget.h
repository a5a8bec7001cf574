#pragma once

#include <QPixmap>
#include <QWidget>

// Paints a faded image across the full width, kept in proportion and placed two
// thirds of the way down the free space; used where there is nothing to edit yet.
class ImagePlaceholderWidget : public QWidget
{
    Q_OBJECT

public:
    explicit ImagePlaceholderWidget(QWidget* parent = nullptr);
    explicit ImagePlaceholderWidget(const QPixmap& pixmap, QWidget* parent = nullptr);

    void setPixmap(const QPixmap& pixmap);
    QPixmap pixmap() const { return m_pixmap; }

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap m_pixmap;
};
