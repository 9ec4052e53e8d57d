#include "tests/linux/webkit/page.h"

#include "platform/linux/glib/async_callback.h"
#include "platform/linux/glib/glib_text.h"

namespace orvel {

namespace {

// In the order of NavigationTarget.
constexpr const char *targetNames[] = {"mainFrame ", "subFrame ", "newWindow "};

/// Returns the method and the target of a request, such as "GET /path".
std::string lineOf(const std::string &head) { return head.substr(0, head.find(" HTTP/")); }

/// Returns the target of a request.
std::string targetOf(const std::string &head) {
  const std::string line = lineOf(head);
  return line.substr(line.find(' ') + 1);
}

}  // namespace

void WebViewTest::loadUrl(const std::string &url) {
  UrlRequest request;
  request.url = Url::parse(url).value();
  view->load(request);
}

std::optional<std::string> WebViewTest::evaluate(const std::string &script) {
  struct Evaluation {
    bool isDone = false;
    std::optional<std::string> result;
  };
  // Shared, because the callback may run after this function has given up.
  const auto evaluation = std::make_shared<Evaluation>();
  const auto finish = [evaluation](GObject *source, GAsyncResult *result) {
    evaluation->isDone = true;
    const auto value =
        adopt(webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, nullptr));
    if (value) evaluation->result = GlibText(jsc_value_to_string(value.get())).get();
  };
  webkit_web_view_evaluate_javascript(webKitView(), script.c_str(), -1, nullptr, nullptr, nullptr,
                                      callAsyncFunction, asyncFunctionData(finish));
  EXPECT_TRUE(runUntil([&] { return evaluation->isDone; })) << script;
  return evaluation->result;
}

bool WebViewTest::waitForResult(const std::string &script, const std::string &text) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  std::optional<std::string> last;
  while (std::chrono::steady_clock::now() < end) {
    last = evaluate(script);
    if (last == text) return true;
  }
  ADD_FAILURE() << script << " returned " << last.value_or("nothing");
  return false;
}

bool WebViewTest::waitForText(const std::string &text) {
  return waitForResult("document.body ? document.body.innerText.trim() : ''", text);
}

WebKitWebView *WebViewTest::webKitView() const {
  return WEBKIT_WEB_VIEW(dynamic_cast<WebKitPageView &>(*view).widget());
}

NavigationPolicy PageDelegate::policyFor(const NavigationAction &action) const {
  lastPolicyQuery = name(action);
  if (!action.url) return NavigationPolicy::cancel;
  const bool isOwnServer =
      action.url->scheme == "about" || action.url->absoluteString.starts_with(server);
  const bool isFile = action.url->path.starts_with("/file/");
  const bool isExcluded =
      action.url->path == "/export" || (isFile && action.target != NavigationTarget::subFrame);
  return isOwnServer && !isExcluded ? NavigationPolicy::allow : NavigationPolicy::cancel;
}

NavigationPolicy PageDelegate::decidePolicy(const NavigationAction &action) {
  decisions.push_back(name(action));
  const NavigationPolicy policy = policyFor(action);
  if (policy == NavigationPolicy::cancel) cancelled.push_back(decisions.back());
  return policy;
}

void PageDelegate::createWebView(const std::optional<Url> &url) {
  requestedWindows.push_back(name(url));
}

void PageDelegate::runJavaScriptAlertPanel(const std::string &message,
                                           std::function<void()> completion) {
  panels.push_back("alert " + message);
  alertCompletions.push_back(std::move(completion));
}

void PageDelegate::runJavaScriptConfirmPanel(const std::string &message,
                                             std::function<void(bool)> completion) {
  panels.push_back("confirm " + message);
  confirmCompletions.push_back(std::move(completion));
}

std::string PageDelegate::name(const NavigationAction &action) const {
  return targetNames[static_cast<int>(action.target)] + name(action.url);
}

std::string PageDelegate::name(const std::optional<Url> &url) const {
  if (!url) return "(none)";
  const bool isOwnServer = url->absoluteString.starts_with(server);
  return isOwnServer ? url->absoluteString.substr(server.size() - 1) : url->absoluteString;
}

PageTest::PageTest()
    : server([this](LoopbackConnection &connection, const std::string &head) {
        respond(connection, head);
      }) {
  delegate.server = server.url();
  makeView(folder.path());
}

PageTest::~PageTest() {
  releaseHeldResponses();
  // Before the delegate is destroyed.
  view.reset();
}

void PageTest::makeView(const std::filesystem::path &dataFolder) {
  WebViewConfiguration configuration;
  configuration.persistentDataStore = false;
  const WebViewEnvironment environment{.dataFolder = dataFolder, .cacheFolder = dataFolder};
  view = std::make_unique<WebKitPageView>(configuration, environment, delegate);
}

void PageTest::showPage(const std::string &html) {
  const std::string path = "/page" + std::to_string(++pageCount_);
  setPage(path, html);
  load(path);
  ASSERT_TRUE(waitForResult("location.pathname + document.readyState", path + "complete"));
}

void PageTest::setPage(const std::string &path, const std::string &html) {
  const std::lock_guard lock(mutex_);
  pages_[path] = html;
}

void PageTest::releaseHeldResponses() {
  const std::lock_guard lock(mutex_);
  isReleased_ = true;
  released_.notify_all();
}

bool PageTest::waitForSentRequests() {
  const std::string barrier = "/barrier" + std::to_string(++pageCount_);
  evaluate("fetch('" + barrier + "'); 0");
  return runUntil([&] { return !requestsTo(barrier).empty(); });
}

PageTest::Strings PageTest::requestsTo(const std::string &path) const {
  Strings found;
  for (const std::string &head : server.heads()) {
    if (targetOf(head).starts_with(path)) found.push_back(lineOf(head));
  }
  return found;
}

void PageTest::expectCancelled(const Strings &decisions) {
  EXPECT_TRUE(runUntil([&] { return delegate.cancelled.size() >= decisions.size(); }));
  EXPECT_TRUE(waitForSentRequests());
  EXPECT_EQ(delegate.cancelled, decisions);
  EXPECT_EQ(delegate.requestedWindows, Strings());
  delegate.cancelled.clear();
}

void PageTest::expectWindowRequest(const std::string &address) {
  EXPECT_TRUE(runUntil([&] { return !delegate.requestedWindows.empty(); }));
  EXPECT_TRUE(waitForSentRequests());
  EXPECT_EQ(delegate.requestedWindows, Strings{address});
  delegate.requestedWindows.clear();
}

void PageTest::respond(LoopbackConnection &connection, const std::string &head) {
  std::string path = targetOf(head);
  std::unique_lock lock(mutex_);
  if (path.starts_with("/held/")) {
    released_.wait(lock, [this] { return isReleased_; });
    path = path.substr(std::string_view("/held").size());
  }
  const std::string_view redirect = "/redirect/";
  constexpr std::size_t statusLength = 3;
  if (path.starts_with(redirect)) {
    const std::string status = path.substr(redirect.size(), statusLength);
    connection.send(redirectTo(path.substr(redirect.size() + statusLength), status + " Moved"));
    return;
  }
  const auto page = pages_.find(path.substr(0, path.find('?')));
  connection.send(okResponse(page != pages_.end() ? page->second : "content of " + path,
                             "Content-Type: text/html\r\nCache-Control: no-store\r\n"));
}

}  // namespace orvel
