#pragma once

#include <memory>

class QImage;

namespace corvid {

/**
 * A row icon. Opaque below the ui layer: only who draws or decodes includes QImage.
 * A null pointer means "no icon". Immutable, so it may be shared between threads.
 */
using Image = std::shared_ptr<const QImage>;

} // namespace corvid
