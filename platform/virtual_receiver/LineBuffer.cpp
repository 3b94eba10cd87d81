#include "platform/virtual_receiver/LineBuffer.h"

namespace companion {

void LineBuffer::append(std::string_view bytes) {
    if (m_dropping) {
        const std::size_t end = bytes.find('\n');
        if (end == std::string_view::npos)
            return;
        bytes.remove_prefix(end + 1);
        m_dropping = false;
    }
    m_bytes.erase(0, m_taken);
    m_taken = 0;
    m_bytes += bytes;
}

std::optional<LineBuffer::Line> LineBuffer::next() {
    if (!hasNext())
        return std::nullopt;
    const std::string_view bytes = rest();
    const std::size_t end = bytes.find('\n');
    const std::string_view text = bytes.substr(0, end);
    const bool whole = end != std::string_view::npos;
    m_taken += text.size() + (whole ? 1 : 0);
    m_dropping = !whole;
    if (text.size() > kMaxLine)
        return Line{{}, true};
    return Line{std::string(text)};
}

bool LineBuffer::hasNext() const {
    const std::string_view bytes = rest();
    return bytes.size() > kMaxLine || bytes.find('\n') != std::string_view::npos ||
           (m_finished && !bytes.empty());
}

} // namespace companion
