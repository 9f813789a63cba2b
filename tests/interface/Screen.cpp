#include "interface/Screen.h"

#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace veskline::testing {

namespace {

bool isUsable(QAccessible::Role role) {
    return role == QAccessible::Button || role == QAccessible::RadioButton || role == QAccessible::EditableText;
}

std::string described(QAccessibleInterface& element) {
    static const std::map<QAccessible::Role, std::string> words{{QAccessible::Button, "button"},
                                                                {QAccessible::RadioButton, "choice"},
                                                                {QAccessible::EditableText, "field"},
                                                                {QAccessible::List, "list"}};
    const auto word = words.find(element.role());
    return (word == words.end() ? "role " + std::to_string(element.role()) : word->second) + " " +
           element.text(QAccessible::Name).toStdString();
}

bool visitItem(QQuickItem& item, const std::function<bool(QQuickItem&, QAccessibleInterface&)>& isEnough) {
    if (!item.isVisible()) {
        return false;
    }
    QAccessibleInterface* const element = QAccessible::queryAccessibleInterface(&item);
    if (element != nullptr && element->role() != QAccessible::NoRole && isEnough(item, *element)) {
        return true;
    }
    return std::ranges::any_of(item.childItems(), [&](QQuickItem* child) { return visitItem(*child, isEnough); });
}

// A DesktopSurface or a DesktopBox.
bool isCard(const QQuickItem& item) {
    return item.property("tone").isValid() || item.property("corner").isValid();
}

// What a text paints or a card covers, in the window. The scaffold clips nothing: the user scrolls there.
QRectF painted(const QQuickItem& item) {
    QRectF area = item.boundingRect();
    if (item.inherits("QQuickText")) {
        area.setWidth(std::min(area.width(), item.property("contentWidth").toDouble()));
        area.setHeight(item.property("contentHeight").toDouble());
    }
    area = item.mapRectToScene(area);
    for (const QQuickItem* parent = item.parentItem(); parent != nullptr; parent = parent->parentItem()) {
        if (parent->clip() && parent->objectName() != QStringLiteral("scaffold")) {
            area &= parent->mapRectToScene(parent->boundingRect());
        }
    }
    return area;
}

struct Painted {
    std::string name;
    QRectF area;
};

std::string described(const QQuickItem& item) {
    const QString text = item.property("text").toString();
    return text.isEmpty() ? item.metaObject()->className() : '"' + text.left(60).toStdString() + '"';
}

// Texts below `item` go to `texts`; whatever leaves `card` goes to `faults`.
void gather(const QQuickItem& item, const Painted& card, std::vector<Painted>& texts,
            std::vector<std::string>& faults) {
    if (!item.isVisible()) {
        return;
    }
    const bool isText = item.inherits("QQuickText") && !item.property("text").toString().isEmpty();
    const Painted self{described(item), painted(item)};
    if ((isText || isCard(item)) && !self.area.isEmpty() && !card.area.adjusted(-1, -1, 1, 1).contains(self.area)) {
        faults.push_back(self.name + " leaves " + card.name);
    }
    if (isText && !self.area.isEmpty()) {
        texts.push_back(self);
    }
    for (const QQuickItem* const child : item.childItems()) {
        gather(*child, isCard(item) ? self : card, texts, faults);
    }
}

} // namespace

std::vector<std::string> Screen::overlaps() const {
    std::vector<Painted> texts;
    std::vector<std::string> faults;
    constexpr double endless = 1e6;
    gather(*window_->contentItem(), {"the window", {-endless, -endless, 2 * endless, 2 * endless}}, texts, faults);
    for (auto first = texts.begin(); first != texts.end(); ++first) {
        for (auto second = first + 1; second != texts.end(); ++second) {
            const QRectF common = first->area & second->area;
            if (common.width() > 1 && common.height() > 1) {
                faults.push_back(first->name + " lies on " + second->name);
            }
        }
    }
    return faults;
}

void Screen::visit(const std::function<bool(QQuickItem&, QAccessibleInterface&)>& isEnough) const {
    visitItem(*window_->contentItem(), isEnough);
}

QQuickItem* Screen::find(QAccessible::Role role, const QString& name) const {
    QQuickItem* found = nullptr;
    visit([&](QQuickItem& item, QAccessibleInterface& element) {
        found = element.role() == role && element.text(QAccessible::Name) == name ? &item : nullptr;
        return found != nullptr;
    });
    return found;
}

bool Screen::says(const QString& text) const {
    return find(QAccessible::StaticText, text) != nullptr || find(QAccessible::Heading, text) != nullptr;
}

std::string Screen::texts() const {
    std::string texts;
    visit([&texts](QQuickItem&, QAccessibleInterface& element) {
        if (element.role() == QAccessible::StaticText || element.role() == QAccessible::Heading) {
            texts += element.text(QAccessible::Name).toStdString() + "\n";
        }
        return false;
    });
    return texts;
}

void Screen::press(const QString& button) {
    click(find(QAccessible::Button, button), button);
}

void Screen::choose(const QString& radioButton) {
    click(find(QAccessible::RadioButton, radioButton), radioButton);
}

void Screen::type(const QString& field, const QString& text) {
    click(find(QAccessible::EditableText, field), field);
    key(Qt::Key_A, Qt::ControlModifier);
    for (const QChar character : text) {
        QTest::keyClick(window_, character.toLatin1());
    }
}

void Screen::key(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(window_, key, modifiers);
}

void Screen::click(QQuickItem* item, const QString& name) {
    ASSERT_NE(item, nullptr) << "There is no " << name.toStdString() << " to be seen.";
    if (auto* const scaffold = window_->findChild<QQuickItem*>(QStringLiteral("scaffold"))) {
        QMetaObject::invokeMethod(scaffold, "reveal", Q_ARG(QQuickItem*, item));
    }
    ASSERT_TRUE(isInView(*item)) << name.toStdString();
    QTest::mouseClick(window_, Qt::LeftButton, {}, item->mapToScene(item->boundingRect().center()).toPoint());
}

bool Screen::isInView(const QQuickItem& item) const {
    return QRectF({}, window_->size()).contains(item.mapRectToScene(item.boundingRect()));
}

std::vector<std::string> Screen::tabStops() {
    std::vector<std::string> stops;
    while (stops.size() < 100) {
        key(Qt::Key_Tab);
        QQuickItem* const item = window_->activeFocusItem();
        const std::string stop = described(*QAccessible::queryAccessibleInterface(item));
        EXPECT_TRUE(isInView(*item)) << stop;
        if (!stops.empty() && stop == stops.front()) {
            break;
        }
        stops.push_back(stop);
    }
    return stops;
}

std::vector<std::string> Screen::unnamed() const {
    std::vector<std::string> found;
    visit([&](QQuickItem& item, QAccessibleInterface& element) {
        if ((item.activeFocusOnTab() || isUsable(element.role())) && element.text(QAccessible::Name).isEmpty()) {
            found.emplace_back(item.metaObject()->className());
        }
        return false;
    });
    return found;
}

} // namespace veskline::testing
