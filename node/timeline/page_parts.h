// The sources of the page, as the build has put them in.
#pragma once

#include <string_view>

namespace timeline {

extern const std::string_view page_html;  // with a line of its own where each of the others goes
extern const std::string_view page_css;
extern const std::string_view page_js;

}  // namespace timeline
