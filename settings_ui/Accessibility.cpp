#include "settings_ui/Accessibility.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAccessibleWidget>
#include <QKeySequence>
#include <QLabel>
#include <QSlider>

#include <algorithm>
#include <optional>

namespace companion {
namespace {

constexpr const char *kRole = "a11yRole";
constexpr const char *kUnit = "a11yUnit";
constexpr const char *kStepsPerUnit = "a11yStepsPerUnit";

// "alert" is a notification and not an alert: readers speak those when they come, and ignore the toolkit's
// event of that name, which never reaches them.
const struct {
    const char *name;
    QAccessible::Role role;
} kRoles[] = {
    {"radio", QAccessible::RadioButton},  {"group", QAccessible::Grouping},
    {"picture", QAccessible::Graphic},    {"dialog", QAccessible::Dialog},
    {"alert", QAccessible::Notification},
};

bool isPartOfAnother(const QObject *object) {
    return object != nullptr && object->property(kRole).toByteArray() == "partOf";
}

std::optional<QAccessible::Role> roleOf(const QWidget &widget) {
    const QByteArray name = widget.property(kRole).toByteArray();
    for (const auto &[known, role] : kRoles)
        if (name == known)
            return role;
    return std::nullopt;
}

// The role is looked up whenever somebody asks: an interface may be older than the property.
class DescribedWidget : public QAccessibleWidget {
public:
    using QAccessibleWidget::QAccessibleWidget;

    QAccessible::Role role() const override { return roleOf(*widget()).value_or(QAccessibleWidget::role()); }

    QString text(QAccessible::Text kind) const override {
        const QString text = QAccessibleWidget::text(kind);
        const auto *label = qobject_cast<QLabel *>(widget());
        return kind == QAccessible::Name && text.isEmpty() && label != nullptr ? label->text() : text;
    }

    int childCount() const override { return static_cast<int>(children().size()); }
    QAccessibleInterface *child(int index) const override { return children().value(index); }
    int indexOfChild(const QAccessibleInterface *child) const override {
        const auto all = children();
        const auto found = std::find(all.begin(), all.end(), child);
        return found == all.end() ? -1 : static_cast<int>(found - all.begin());
    }

private:
    QList<QAccessibleInterface *> children() const {
        QList<QAccessibleInterface *> all;
        for (int i = 0; i < QAccessibleWidget::childCount(); ++i)
            if (auto *child = QAccessibleWidget::child(i);
                child != nullptr && !isPartOfAnother(child->object()))
                all.append(child);
        return all;
    }
};

class DescribedRadio final : public QAccessibleWidget {
public:
    explicit DescribedRadio(QAbstractButton *button)
        : QAccessibleWidget(button, QAccessible::RadioButton),
          m_button(*button) {}

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.checkable = m_button.isCheckable();
        state.checked = m_button.isChecked();
        state.pressed = m_button.isDown();
        return state;
    }

    QString text(QAccessible::Text kind) const override {
        const QString text = QAccessibleWidget::text(kind);
        if (kind == QAccessible::Accelerator && text.isEmpty())
            return m_button.shortcut().toString(QKeySequence::NativeText);
        return kind == QAccessible::Name && text.isEmpty() ? withoutMnemonic(m_button.text()) : text;
    }

    QStringList actionNames() const override {
        return QStringList(pressAction()) + QAccessibleWidget::actionNames();
    }
    void doAction(const QString &name) override {
        if (name != pressAction())
            QAccessibleWidget::doAction(name);
        else if (m_button.isEnabled())
            m_button.click();
    }
    QStringList keyBindingsForAction(const QString &name) const override {
        return name == pressAction() ? QStringList(m_button.shortcut().toString()) : QStringList();
    }

private:
    static QString withoutMnemonic(QString text) {
        for (qsizetype at = text.indexOf(u'&'); at >= 0; at = text.indexOf(u'&', at + 1))
            text.remove(at, 1); // Of two, the second stays.
        return text;
    }

    QAbstractButton &m_button;
};

// Value interfaces are numbers only; what the number counts is in the description, which readers say after
// it.
class DescribedSlider final : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit DescribedSlider(QSlider *slider)
        : QAccessibleWidget(slider, QAccessible::Slider),
          m_slider(*slider) {}

    void *interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface *>(this)
                                                   : QAccessibleWidget::interface_cast(type);
    }

    QString text(QAccessible::Text kind) const override {
        const bool hasUnit = m_slider.property(kUnit).isValid();
        if (kind == QAccessible::Description && hasUnit)
            return m_slider.property(kUnit).toString();
        return kind == QAccessible::Value ? currentValue().toString() : QAccessibleWidget::text(kind);
    }

    // Readers say a label instead of the name, and one label may stand beside several sliders.
    QList<QPair<QAccessibleInterface *, QAccessible::Relation>>
    relations(QAccessible::Relation match) const override {
        const bool named = !m_slider.accessibleName().isEmpty();
        return QAccessibleWidget::relations(named ? match & ~QAccessible::Relation(QAccessible::Label)
                                                  : match);
    }

    QVariant currentValue() const override { return m_slider.value() / stepsPerUnit(); }
    void setCurrentValue(const QVariant &value) override {
        m_slider.setValue(value.toInt() * stepsPerUnit());
    }
    QVariant maximumValue() const override { return m_slider.maximum() / stepsPerUnit(); }
    QVariant minimumValue() const override { return m_slider.minimum() / stepsPerUnit(); }
    QVariant minimumStepSize() const override { return std::max(1, m_slider.singleStep() / stepsPerUnit()); }

private:
    int stepsPerUnit() const { return std::max(1, m_slider.property(kStepsPerUnit).toInt()); }

    QSlider &m_slider;
};

// Asked for each class of an object, the most derived one first, until somebody answers. The toolkit owns
// what it gets.
QAccessibleInterface *interfaceFor(const QString &className, QObject *object) {
    auto *widget = qobject_cast<QWidget *>(object);
    if (widget == nullptr)
        return nullptr;
    // NOLINTBEGIN(cppcoreguidelines-owning-memory)
    if (auto *slider = qobject_cast<QSlider *>(widget))
        return new DescribedSlider(slider);
    const auto role = roleOf(*widget);
    if (auto *button = qobject_cast<QAbstractButton *>(widget))
        return role == QAccessible::RadioButton ? new DescribedRadio(button) : nullptr;
    return role || className == QLatin1String("QWidget") ? new DescribedWidget(widget) : nullptr;
    // NOLINTEND(cppcoreguidelines-owning-memory)
}

} // namespace

void describeForScreenReaders() {
    QAccessible::installFactory(interfaceFor);
}

} // namespace companion
