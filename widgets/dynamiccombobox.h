#pragma once

#include <QComboBox>

// A combo box that announces its popup, so the owner can refill the items just
// before they are shown, and that never changes its selection by mouse wheel.
class DynamicComboBox : public QComboBox
{
    Q_OBJECT

public:
    explicit DynamicComboBox(QWidget* parent = nullptr);

    void showPopup() override;

signals:
    void showingPopup();

protected:
    void wheelEvent(QWheelEvent* event) override;
};
