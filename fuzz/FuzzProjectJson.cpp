// libFuzzer target: the project JSON reader on arbitrary text, then a write and a second read,
// which must give the same document as the first.
#include "core/document/json/ProjectJson.h"

#include <QJsonDocument>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QJsonDocument json = QJsonDocument::fromJson(
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size)));
    if (!json.isObject())
        return 0;
    const orvel::Project project = orvel::projectFromJson(json.object());
    const QJsonObject written = orvel::projectToJson(project);
    if (orvel::projectToJson(orvel::projectFromJson(written)) != written)
        __builtin_trap();
    return 0;
}
