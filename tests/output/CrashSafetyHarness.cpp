// Kills (SIGKILL) child processes in the middle of saving and checks what a user would find
// afterwards. Not part of the test run: it takes minutes. Usage:
//   harness_crash_safety [kills=100] [editTrials=3]
// It runs itself as the child, with "--child <mode> ...".
#include "core/AppPaths.h"
#include "core/Recovery.h"
#include "core/controller/AppController.h"
#include "core/document/json/ProjectJson.h"
#include "media/assets/AssetLibrary.h"
#include "output/ProjectContainer.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <csignal>
#include <cstdio>

namespace {

QJsonObject documentWithGeneration(qint64 generation)
{
    QJsonArray clips;
    for (int i = 0; i < 3000; ++i)
        clips.append(QJsonObject{{"id", QStringLiteral("clip-%1").arg(i)}, {"timelineStartUs", i * 40000.0}});
    return QJsonObject{{"version", 3},
                       {"generation", double(generation)},
                       {"tracks", QJsonArray{QJsonObject{{"type", "video"}, {"clips", clips}}}}};
}

orvel::ProjectSaveData saveData(const QStringList &media, qint64 generation)
{
    orvel::ProjectSaveData data;
    data.document = documentWithGeneration(generation);
    data.id = QStringLiteral("crash-harness");
    for (const QString &path : media)
        data.media.append({path, {}, orvel::ProjectMediaRole::source, true, -1});
    return data;
}

void announceReady()
{
    std::fputs("ready\n", stdout);
    std::fflush(stdout);
}

// Saves the same project over and over, each time with a new generation, until killed.
int childSave(const QString &target, const QStringList &media)
{
    announceReady();
    for (qint64 generation = 1;; ++generation) {
        QString error;
        if (!orvel::writeProjectFile(target, saveData(media, generation), {}, &error))
            std::fprintf(stderr, "save failed: %s\n", qPrintable(error));
    }
}

int childAutosave(const QString &snapshot)
{
    announceReady();
    for (qint64 generation = 1;; ++generation)
        orvel::writeAutosaveSnapshot(snapshot, documentWithGeneration(generation), {"", "Harness", "now"});
}

// Edits every 100 ms (a bookmark labelled with the wall-clock time) while the controller's own
// 15 s autosave timer runs, until killed.
int childEdit()
{
    AssetLibrary library;
    AppController controller(&library);
    QTimer edits;
    QObject::connect(&edits, &QTimer::timeout, [&] {
        controller.addBookmark(0.0, QString::number(QDateTime::currentMSecsSinceEpoch()));
    });
    edits.start(100);
    announceReady();
    return QCoreApplication::exec();
}

QProcess *startChild(const QStringList &arguments)
{
    auto *child = new QProcess;
    child->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child->start(QCoreApplication::applicationFilePath(), QStringList{"--child"} + arguments);
    if (!child->waitForStarted(10000) || !child->waitForReadyRead(60000))
        qFatal("child did not start");
    return child;
}

void killChild(QProcess *child)
{
    ::kill(pid_t(child->processId()), SIGKILL);
    child->waitForFinished(10000);
    delete child;
}

int strayFiles(QDir dir, const QStringList &expected)
{
    int strays = 0;
    for (const QString &name : dir.entryList(QDir::Files))
        if (!expected.contains(name)) {
            ++strays;
            dir.remove(name); // a later kill should not be blamed for this one
        }
    return strays;
}

int runSaveKills(const QString &folder, int kills)
{
    const QString target = QDir(folder).filePath("project.orvel");
    QStringList media{QDir(folder).filePath("video.mp4"), QDir(folder).filePath("voice.wav")};
    QFile video(media[0]);
    video.open(QIODevice::WriteOnly);
    QByteArray piece(1048576, Qt::Uninitialized);
    for (int i = 0; i < 64; ++i) {
        QRandomGenerator::global()->fillRange(reinterpret_cast<quint32 *>(piece.data()), piece.size() / 4);
        video.write(piece);
    }
    video.close();
    QFile voice(media[1]);
    voice.open(QIODevice::WriteOnly);
    voice.write(QByteArray(4 * 1048576, 'w'));
    voice.close();

    QElapsedTimer timer;
    timer.start();
    if (!orvel::writeProjectFile(target, saveData(media, 0), {}, nullptr))
        qFatal("first save failed");
    const qint64 saveMs = std::max<qint64>(1, timer.elapsed());
    std::printf("save of %d MiB with embedded media takes %lld ms\n", 68, saveMs);

    int intact = 0, strays = 0;
    const QDir dir(folder);
    const QStringList expected{"project.orvel", "video.mp4", "voice.wav"};
    for (int i = 0; i < kills; ++i) {
        QProcess *child = startChild({"save", target, media[0], media[1]});
        QThread::msleep(QRandomGenerator::global()->bounded(quint32(saveMs * 2)));
        killChild(child);
        QString error;
        QTemporaryDir unpacked;
        const auto info = orvel::readProjectManifest(target, &error);
        if (info && orvel::unpackProjectMedia(target, unpacked.path(), {}, nullptr, &error))
            ++intact;
        else
            std::printf("kill %d: project does not open: %s\n", i + 1, qPrintable(error));
        strays += strayFiles(dir, expected);
    }
    std::printf("save: %d kills, %d times the file opened intact with verified media, %d stray temporaries "
                "(never at the project's path)\n",
                kills, intact, strays);
    return intact == kills ? 0 : 1;
}

int runAutosaveKills(const QString &folder, int kills)
{
    const QString snapshot = QDir(folder).filePath("recovery/autosave.json");
    orvel::writeAutosaveSnapshot(snapshot, documentWithGeneration(0), {"", "Harness", "now"});
    int intact = 0, leftovers = 0;
    for (int i = 0; i < kills; ++i) {
        QProcess *child = startChild({"autosave", snapshot});
        QThread::msleep(QRandomGenerator::global()->bounded(200u));
        killChild(child);
        QFile file(snapshot);
        const bool opened = file.open(QIODevice::ReadOnly);
        const QJsonObject root = QJsonDocument::fromJson(file.readAll()).object();
        orvel::RecoveryInfo info;
        if (opened && root.value("generation").isDouble() && orvel::readRecoveryInfo(snapshot, info) &&
            info.projectName == "Harness")
            ++intact;
        else
            std::printf("kill %d: snapshot unreadable\n", i + 1);
        leftovers += QFile::exists(snapshot + ".tmp") ? 1 : 0;
    }
    std::printf("autosave: %d kills, %d times the snapshot read intact; a partial .tmp was left %d times (it "
                "is never read)\n",
                kills, intact, leftovers);
    return intact == kills ? 0 : 1;
}

// The newest bookmark time in a project: when the last edit that reached it was made.
qint64 newestEditMs(const orvel::Project &project)
{
    qint64 newest = 0;
    for (const orvel::Bookmark &bookmark : project.bookmarks)
        newest = std::max(newest, bookmark.label.toLongLong());
    return newest;
}

int runEditKills(int trials)
{
    int failures = 0;
    for (int i = 0; i < trials; ++i) {
        QDir(orvel::appDataDirectory()).removeRecursively();
        QProcess *child = startChild({"edit"});
        QThread::msleep(16000 + QRandomGenerator::global()->bounded(15000u));
        const qint64 killedAtMs = QDateTime::currentMSecsSinceEpoch();
        killChild(child);
        QFile snapshot(orvel::autosaveFilePath());
        snapshot.open(QIODevice::ReadOnly);
        const orvel::Project autosaved =
            orvel::projectFromJson(QJsonDocument::fromJson(snapshot.readAll()).object());
        AssetLibrary library;
        AppController restarted(&library);
        const bool offered = restarted.recoveryAvailable();
        restarted.restoreAutosave();
        const qint64 lostMs = killedAtMs - newestEditMs(restarted.project());
        const bool same = orvel::projectToJson(restarted.project()) == orvel::projectToJson(autosaved);
        std::printf("edit kill %d: offered %d, restored as autosaved %d, %lld ms of edits lost\n", i + 1,
                    offered, same, lostMs);
        failures += (!offered || !same || lostMs > 15100) ? 1 : 0;
    }
    return failures == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName("Halvern Orvel");
    QCoreApplication::setApplicationName("Halvern Orvel");
    const QStringList args = app.arguments();
    if (args.size() > 2 && args[1] == "--child") {
        if (args[2] == "save")
            return childSave(args[3], args.mid(4));
        if (args[2] == "autosave")
            return childAutosave(args[3]);
        return childEdit();
    }
    const int kills = args.size() > 1 ? args[1].toInt() : 100;
    const int editTrials = args.size() > 2 ? args[2].toInt() : 3;
    QTemporaryDir work;
    // Parent and children share one private data folder, so the real user's files stay untouched.
    qputenv("XDG_DATA_HOME", QDir(work.path()).filePath("data").toUtf8());
    qputenv("XDG_CONFIG_HOME", QDir(work.path()).filePath("config").toUtf8());
    int result = runSaveKills(work.path(), kills);
    result |= runAutosaveKills(work.path(), kills);
    result |= runEditKills(editTrials);
    return result;
}
