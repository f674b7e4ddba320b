#include "render/effects/GpuEffectHooks.h"

#include <QMutex>
#include <QMutexLocker>

namespace orvel {

namespace {

struct InstalledEffectHooks
{
    QMutex mutex;
    std::shared_ptr<const GpuEffectHooks> hooks = std::make_shared<const GpuEffectHooks>();
};

InstalledEffectHooks &installedEffectHooks()
{
    static InstalledEffectHooks installed;
    return installed;
}

} // namespace

void setGpuEffectHooks(GpuEffectHooks hooks)
{
    auto next = std::make_shared<const GpuEffectHooks>(std::move(hooks));
    InstalledEffectHooks &installed = installedEffectHooks();
    QMutexLocker lock(&installed.mutex);
    installed.hooks = std::move(next);
}

std::shared_ptr<const GpuEffectHooks> gpuEffectHooks()
{
    InstalledEffectHooks &installed = installedEffectHooks();
    QMutexLocker lock(&installed.mutex);
    return installed.hooks;
}

} // namespace orvel
