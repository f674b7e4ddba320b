#pragma once

#include "audiofx/AudioEffectRack.h"
#include "catalog/EffectPackage.h"
#include "core/document/model/Project.h"

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

#include <cstdint>

namespace orvel {

// One audio effect a user can add to a clip: a display name, a category and the parameters the
// inspector shows, bound to one processor chain of the audio effect registry.
struct AudioEffectDescriptor
{
    QString id;
    QString displayName;
    QString category = QStringLiteral("space");
    int32_t order = 0;
    QString processor;
    int32_t prerollMs = 0;
    QList<EffectParameter> parameters;
    QString packageDir;
    QString icon;
    QString thumbnailPath;
};

// Reads `directory`/audio-effect.json. On failure `error` holds a lower-case reason and the
// returned descriptor has an empty id.
AudioEffectDescriptor parseAudioEffectPackage(const QString &directory, QString *error);

// Every package under `roots`, the first root winning on a repeated id, sorted by order then id.
// Bad packages are logged and left out.
QList<AudioEffectDescriptor> scanAudioEffectPackages(const QStringList &roots);

// ORVEL_AUDIO_EFFECTS_DIR, addon roots, "audio-effects" beside the executable, then the
// application data folder.
QStringList audioEffectPackageRoots();

// The installed audio effects. The process-wide instance is loaded once, on first use, and is
// never changed afterwards, so audio threads read it without a lock.
class AudioEffectCatalog
{
public:
    explicit AudioEffectCatalog(QList<AudioEffectDescriptor> descriptors = {});
    static const AudioEffectCatalog &instance();

    // Null when the id is unknown.
    const AudioEffectDescriptor *find(const QString &id) const;
    const QList<AudioEffectDescriptor> &all() const { return m_descriptors; }
    // The categories in use, with their labels: the four named groups first, then the others in
    // the order the catalog meets them.
    QList<QPair<QString, QString>> categories() const;
    static QString categoryLabel(const QString &category);

    // What the mixer runs for a clip: one spec per effect the catalog knows, in clip order, each
    // declared parameter at the instance's value or its default. Values the catalog does not
    // declare are dropped, and so are effects it does not know.
    QList<AudioEffectSpec> specsFor(const Clip &clip) const;

private:
    QList<AudioEffectDescriptor> m_descriptors;
};

} // namespace orvel
