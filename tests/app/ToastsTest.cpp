// The Toasts queue and Theme tokens, driven through a QML engine as components use them.
#include <QColor>
#include <QQmlComponent>
#include <QQmlEngine>
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
