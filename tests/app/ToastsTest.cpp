// The Toasts queue and Theme tokens, driven through a QML engine as components use them.
#include <QColor>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlError>
#include <QtQml/qqmlextensionplugin.h>

#include <gtest/gtest.h>

#include <memory>

Q_IMPORT_QML_PLUGIN(OrvelPlugin)

class ToastsTest : public testing::Test
{
protected:
    void SetUp() override
    {
        engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
        QQmlComponent component(&engine);
        component.setData("import QtQml\nimport Orvel\nQtObject {\n"
                          "  function post(s, m, t) { return Toasts.post(s, m, t) }\n"
                          "  function count() { return Toasts.model.count }\n"
                          "  function field(i, name) { return Toasts.model.get(i)[name] }\n"
                          "  function dismiss(id) { Toasts.dismiss(id) }\n"
                          "  function clear() { Toasts.clear() }\n"
                          "  function theme(name) { return Theme[name] }\n"
                          "}\n",
                          QUrl());
        root.reset(component.create());
        ASSERT_TRUE(root) << qPrintable(component.errorString());
        call("clear");
    }

    QVariant call(const char *method, QVariantList args = {})
    {
        QVariant result;
        QGenericArgument a[3];
        for (int i = 0; i < args.size() && i < 3; ++i)
            a[i] = Q_ARG(QVariant, args[i]);
        QMetaObject::invokeMethod(root.get(), method, Q_RETURN_ARG(QVariant, result), a[0], a[1], a[2]);
        return result;
    }
    int post(const QString &severity, const QString &message, const QVariant &timeout = QVariant())
    {
        return call("post", {severity, message, timeout}).toInt();
    }
    int count() { return call("count").toInt(); }
    QVariant field(int index, const QString &name) { return call("field", {index, name}); }

    QQmlEngine engine;
    std::unique_ptr<QObject> root;
};

TEST_F(ToastsTest, EmptyMessageIsRefused)
{
    EXPECT_EQ(post(QStringLiteral("info"), QString()), -1);
    EXPECT_EQ(count(), 0);
}

TEST_F(ToastsTest, RepeatOfTheNewestCountsInsteadOfStacking)
{
    const int first = post(QStringLiteral("warning"), QStringLiteral("Move the playhead onto a keyframe"));
    const int again = post(QStringLiteral("warning"), QStringLiteral("Move the playhead onto a keyframe"));
    EXPECT_EQ(first, again);
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(field(0, QStringLiteral("repeats")).toInt(), 2);
    // Same text but another severity is a new toast.
    EXPECT_NE(post(QStringLiteral("info"), QStringLiteral("Move the playhead onto a keyframe")), first);
    EXPECT_EQ(count(), 2);
}

TEST_F(ToastsTest, TimeoutsDefaultByseverityAndErrorsStay)
{
    post(QStringLiteral("info"), QStringLiteral("Clip moved"));
    post(QStringLiteral("error"), QStringLiteral("Could not write subtitle file"));
    post(QStringLiteral("success"), QStringLiteral("Saved"), 1200);
    EXPECT_EQ(field(0, QStringLiteral("timeout")).toInt(), 5000);
    EXPECT_EQ(field(1, QStringLiteral("timeout")).toInt(), 0);
    EXPECT_EQ(field(2, QStringLiteral("timeout")).toInt(), 1200);
}

TEST_F(ToastsTest, FifthToastDropsTheOldestAndDismissRemovesById)
{
    const int oldest = post(QStringLiteral("info"), QStringLiteral("one"));
    post(QStringLiteral("info"), QStringLiteral("two"));
    const int third = post(QStringLiteral("info"), QStringLiteral("three"));
    post(QStringLiteral("info"), QStringLiteral("four"));
    post(QStringLiteral("info"), QStringLiteral("five"));
    EXPECT_EQ(count(), 4);
    EXPECT_EQ(field(0, QStringLiteral("message")).toString(), QStringLiteral("two"));
    EXPECT_NE(field(0, QStringLiteral("toastId")).toInt(), oldest);
    call("dismiss", {third});
    EXPECT_EQ(count(), 3);
    EXPECT_EQ(field(1, QStringLiteral("message")).toString(), QStringLiteral("four"));
}

TEST_F(ToastsTest, ThemeTokensAreAvailableToComponents)
{
    EXPECT_EQ(call("theme", {QStringLiteral("windowMinimumWidth")}).toInt(), 900);
    EXPECT_EQ(call("theme", {QStringLiteral("windowMinimumHeight")}).toInt(), 560);
    EXPECT_DOUBLE_EQ(call("theme", {QStringLiteral("headerHeight")}).toDouble(), 54.4);
    EXPECT_EQ(call("theme", {QStringLiteral("primary")}).value<QColor>(), QColor(QStringLiteral("#F8B81C")));
}

// Every themed control must load (a typo in a binding only shows at load time) and follow a
// switch of the scheme without being rebuilt.
TEST(ThemedControls, AllLoadAndFollowTheScheme)
{
    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QStringList warnings;
    QObject::connect(&engine, &QQmlEngine::warnings, [&warnings](const QList<QQmlError> &list) {
        for (const QQmlError &error : list)
            warnings << error.toString();
    });
    const QStringList names = {QStringLiteral("ThemedButton"),        QStringLiteral("ThemedCheckBox"),
                               QStringLiteral("ThemedChip"),          QStringLiteral("ThemedComboBox"),
                               QStringLiteral("ThemedContextMenu"),   QStringLiteral("ThemedDialog"),
                               QStringLiteral("ThemedLabel"),         QStringLiteral("ThemedMenuItem"),
                               QStringLiteral("ThemedMenuSeparator"), QStringLiteral("ThemedNumberField"),
                               QStringLiteral("ThemedProgressBar"),   QStringLiteral("ThemedSlider"),
                               QStringLiteral("ThemedSwitch"),        QStringLiteral("ThemedTextArea"),
                               QStringLiteral("ThemedTextField"),     QStringLiteral("ThemedToggleButton"),
                               QStringLiteral("ThemedToolTip"),       QStringLiteral("IconButton"),
                               QStringLiteral("IconGlyph"),           QStringLiteral("PanelFrame"),
                               QStringLiteral("EmptyState"),          QStringLiteral("SkeletonBox"),
                               QStringLiteral("AppScrollBar")};
    for (const QString &name : names) {
        QQmlComponent component(&engine);
        component.setData(QStringLiteral("import QtQuick\nimport Orvel\nItem { %1 {} }\n").arg(name).toUtf8(),
                          QUrl());
        std::unique_ptr<QObject> item(component.create());
        EXPECT_TRUE(item) << qPrintable(name) << ": " << qPrintable(component.errorString());
    }

    QQmlComponent label(&engine);
    label.setData(
        "import QtQuick\nimport Orvel\nThemedLabel { function toggle() { Theme.toggleDarkMode() } }\n",
        QUrl());
    std::unique_ptr<QObject> text(label.create());
    ASSERT_TRUE(text) << qPrintable(label.errorString());
    const QColor before = text->property("color").value<QColor>();
    QMetaObject::invokeMethod(text.get(), "toggle");
    const QColor after = text->property("color").value<QColor>();
    EXPECT_NE(before, after);
    EXPECT_TRUE(after == QColor(QStringLiteral("#dedede")) || after == QColor(QStringLiteral("#1c1c1c")));
    EXPECT_TRUE(warnings.isEmpty()) << qPrintable(warnings.join(QLatin1Char('\n')));
}
