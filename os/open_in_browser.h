// Opens addresses in the user's browser.
#pragma once

#include <future>
#include <string>

namespace fmp4::os {

// Has the system open a URL, without a shell, and does not wait for it: the result is whether that worked. A
// browser may keep it open for as long as it runs; the result need not be waited for.
std::future<bool> openInBrowser(const std::string& url);

}  // namespace fmp4::os
