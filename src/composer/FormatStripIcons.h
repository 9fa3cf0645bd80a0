#pragma once
// The formatting strip's button images, drawn rather than shipped, so they follow the palette.
#include <QIcon>
#include <QString>

namespace kvmail {

// The image of a strip key ("jiacu", "left", "picture", ...); a plain one for an unknown key.
QIcon stripIcon(const QString& key);

}  // namespace kvmail
