#pragma once

#include <QAccessible>
#include <QQuickItem>
#include <QQuickWindow>
#include <QString>

#include <functional>
#include <string>
#include <vector>

namespace veskline::testing {

// The window as a user has it: what can be seen is found by role and name, as a screen reader finds it, and used by
// mouse and keys.
class Screen {
public:
    explicit Screen(QQuickWindow* window) : window_(window) {}

    // The visible element of this role and name; null where there is none.
    [[nodiscard]] QQuickItem* find(QAccessible::Role role, const QString& name) const;
    // Whether this text or heading is to be seen.
    [[nodiscard]] bool says(const QString& text) const;
    // All of them, one a line.
    [[nodiscard]] std::string texts() const;

    // All three fail the test where there is no such element, and bring it into view first.
    void press(const QString& button);
    void choose(const QString& radioButton);
    // In place of what stands in the field.
    void type(const QString& field, const QString& text);
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

    // Role and name of each element that the keyboard reaches, in its order, from the first to the first again.
    [[nodiscard]] std::vector<std::string> tabStops();
    // Names of visible elements that can be used but have no name or no role.
    [[nodiscard]] std::vector<std::string> unnamed() const;
    // Visible texts that lie on one another, and texts and cards that leave the card they belong to, each in words.
    // What lies below the fold counts too.
    [[nodiscard]] std::vector<std::string> overlaps() const;

    [[nodiscard]] QQuickWindow& window() const { return *window_; }
    [[nodiscard]] bool isInView(const QQuickItem& item) const;

private:
    void click(QQuickItem* item, const QString& name);
    void visit(const std::function<bool(QQuickItem&, QAccessibleInterface&)>& isEnough) const;

    QQuickWindow* window_;
};

} // namespace veskline::testing
