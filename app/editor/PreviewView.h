#pragma once

#include <QImage>
#include <QWidget>

// The photo as large as the window allows, its proportions kept, centred
// on a dark ground. Only draws: the picture arrives rendered.
class PreviewView : public QWidget
{
    Q_OBJECT

public:
    explicit PreviewView(QWidget* parent = nullptr);

    void setPicture(QImage const& picture);
    QImage const& picture() const { return shown; }
    // Where the picture lands inside the widget.
    QRect pictureRect() const;

    QSize sizeHint() const override { return {900, 600}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage shown;
};
