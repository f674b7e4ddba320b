// The Toasts queue and the themed controls, driven through a QML engine as components use them.
#include <QColor>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlError>
#include <QtQml/qqmlextensionplugin.h>

#include <gtest/gtest.h>

#include <memory>

Q_IMPORT_QML_PLUGIN(OrvelPlugin)

TEST(Toasts, RefusesEmptyCountsRepeatsTimesOutBySeverityAndKeepsTheNewestFour)
{
    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQmlComponent component(&engine);
    component.setData("import QtQml\nimport Orvel\nQtObject {\n"
                      "  function post(s, m, t) { return Toasts.post(s, m, t) }\n"
                      "  function count() { return Toasts.model.count }\n"
                      "  function field(i, name) { return Toasts.model.get(i)[name] }\n"
                      "  function dismiss(id) { Toasts.dismiss(id) }\n"
                      "  function clear() { Toasts.clear() }\n"
                      "}\n",
                      QUrl());
    std::unique_ptr<QObject> root(component.create());
    ASSERT_TRUE(root) << qPrintable(component.errorString());
    const auto call = [&](const char *method, QVariantList args = {}) {
        QVariant result;
        QGenericArgument a[3];
        for (int i = 0; i < args.size() && i < 3; ++i)
            a[i] = Q_ARG(QVariant, args[i]);
        QMetaObject::invokeMethod(root.get(), method, Q_RETURN_ARG(QVariant, result), a[0], a[1], a[2]);
        return result;
    };
    const auto post = [&](const QString &severity, const QString &message, const QVariant &timeout = {}) {
        return call("post", {severity, message, timeout}).toInt();
    };
    const auto count = [&] { return call("count").toInt(); };
    const auto field = [&](int index, const char *name) { return call("field", {index, QString(name)}); };

    EXPECT_EQ(post("info", QString()), -1);
    EXPECT_EQ(count(), 0);

    // A repeat of the newest counts instead of stacking; the same text at another severity is new.
    const QString hint = QStringLiteral("Move the playhead onto a keyframe");
    const int first = post("warning", hint);
    EXPECT_EQ(post("warning", hint), first);
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(field(0, "repeats").toInt(), 2);
    EXPECT_NE(post("info", hint), first);
    EXPECT_EQ(count(), 2);

    call("clear");
    post("info", "Clip moved");
    post("error", "Could not write subtitle file");
    post("success", "Saved", 1200);
    EXPECT_EQ(field(0, "timeout").toInt(), 5000);
    EXPECT_EQ(field(1, "timeout").toInt(), 0); // errors stay until dismissed
    EXPECT_EQ(field(2, "timeout").toInt(), 1200);

    // A fifth toast drops the oldest; dismiss removes by id.
    call("clear");
    const int oldest = post("info", "one");
    post("info", "two");
    const int third = post("info", "three");
    post("info", "four");
    post("info", "five");
    EXPECT_EQ(count(), 4);
    EXPECT_EQ(field(0, "message").toString(), "two");
    EXPECT_NE(field(0, "toastId").toInt(), oldest);
    call("dismiss", {third});
    EXPECT_EQ(count(), 3);
    EXPECT_EQ(field(1, "message").toString(), "four");
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
    for (const char *name :
         {"ThemedButton",        "ThemedCheckBox",    "ThemedChip",        "ThemedComboBox",
          "ThemedContextMenu",   "ThemedDialog",      "ThemedLabel",       "ThemedMenuItem",
          "ThemedMenuSeparator", "ThemedNumberField", "ThemedProgressBar", "ThemedSlider",
          "ThemedSwitch",        "ThemedTextArea",    "ThemedTextField",   "ThemedToggleButton",
          "ThemedToolTip",       "IconButton",        "IconGlyph",         "PanelFrame",
          "EmptyState",          "SkeletonBox",       "AppScrollBar"}) {
        QQmlComponent component(&engine);
        component.setData(QStringLiteral("import QtQuick\nimport Orvel\nItem { %1 {} }\n")
                              .arg(QString::fromLatin1(name))
                              .toUtf8(),
                          QUrl());
        std::unique_ptr<QObject> item(component.create());
        EXPECT_TRUE(item) << name << ": " << qPrintable(component.errorString());
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
