#include "tests/linux/webkit/page.h"

namespace orvel {

namespace {

std::string targetName(NavigationTarget target) {
  switch (target) {
    case NavigationTarget::mainFrame:
      return "mainFrame ";
    case NavigationTarget::subFrame:
      return "subFrame ";
    case NavigationTarget::newWindow:
      return "newWindow ";
  }
  return "";
}

/// Returns the method and the target of a request, such as "GET /path".
std::string lineOf(const std::string &head) { return head.substr(0, head.find(" HTTP/")); }

struct Evaluation {
  bool done = false;
  std::optional<std::string> value;
};

void evaluated(GObject *source, GAsyncResult *result, gpointer data) {
  const std::unique_ptr<std::shared_ptr<Evaluation>> evaluation(
      static_cast<std::shared_ptr<Evaluation> *>(data));
  (*evaluation)->done = true;
  JSCValue *value =
      webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, nullptr);
  if (value == nullptr) return;
  char *text = jsc_value_to_string(value);
  (*evaluation)->value = text;
  g_free(text);
  g_object_unref(value);
}

}  // namespace

void WebViewTest::loadUrl(const std::string &url) {
  UrlRequest request;
  request.url = Url::parse(url).value();
  view->load(request);
}

std::optional<std::string> WebViewTest::evaluate(const std::string &script) {
  const auto evaluation = std::make_shared<Evaluation>();
  webkit_web_view_evaluate_javascript(webKit(), script.c_str(), -1, nullptr, nullptr, nullptr,
                                      evaluated, new std::shared_ptr(evaluation));
  EXPECT_TRUE(until([&] { return evaluation->done; })) << script;
  return evaluation->value;
}

bool WebViewTest::untilScript(const std::string &script, const std::string &text) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  std::optional<std::string> last;
  while (std::chrono::steady_clock::now() < end) {
    last = evaluate(script);
    if (last == text) return true;
  }
  ADD_FAILURE() << script << " returned " << last.value_or("nothing");
  return false;
}

bool WebViewTest::untilText(const std::string &text) {
  return untilScript("document.body ? document.body.innerText.trim() : ''", text);
}

WebKitWebView *WebViewTest::webKit() const {
  return WEBKIT_WEB_VIEW(dynamic_cast<WebKitPageView &>(*view).widget());
}

NavigationPolicy PageDelegate::policyFor(const NavigationAction &action) const {
  lastQuestion = name(action);
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

void PageDelegate::createWebView(const std::optional<Url> &url) { windows.push_back(name(url)); }

void PageDelegate::runJavaScriptAlertPanel(const std::string &message,
                                           std::function<void()> completion) {
  panels.push_back("alert " + message);
  alerts.push_back(std::move(completion));
}

void PageDelegate::runJavaScriptConfirmPanel(const std::string &message,
                                             std::function<void(bool)> completion) {
  panels.push_back("confirm " + message);
  confirms.push_back(std::move(completion));
}

std::string PageDelegate::name(const NavigationAction &action) const {
  return targetName(action.target) + name(action.url);
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
  openGate();
  // Before the delegate is destroyed.
  view.reset();
}

void PageTest::makeView(const std::filesystem::path &dataFolder) {
  WebViewConfiguration configuration;
  configuration.persistentDataStore = false;
  const WebViewEnvironment environment{.dataFolder = dataFolder, .cacheFolder = dataFolder};
  view = std::make_unique<WebKitPageView>(configuration, environment, delegate);
}

void PageTest::load(const std::string &path) { loadUrl(server.url(path)); }

void PageTest::show(const std::string &html) {
  const std::string path = "/page" + std::to_string(++marks_);
  setPage(path, html);
  load(path);
  ASSERT_TRUE(untilScript("location.pathname + document.readyState", path + "complete"));
}

bool PageTest::settle() {
  const std::string mark = "/mark" + std::to_string(++marks_);
  evaluate("fetch('" + mark + "'); 0");
  return until([&] { return !requests("GET " + mark).empty(); });
}

void PageTest::expectWindow(const std::string &address) {
  EXPECT_TRUE(until([&] { return !delegate.windows.empty(); }));
  EXPECT_TRUE(settle());
  EXPECT_EQ(delegate.windows, Strings{address});
  delegate.windows.clear();
}

PageTest::Strings PageTest::requests(const std::string &start) const {
  Strings found;
  for (const std::string &head : server.heads()) {
    if (lineOf(head).starts_with(start)) found.push_back(lineOf(head));
  }
  return found;
}

void PageTest::setPage(const std::string &path, const std::string &html) {
  const std::lock_guard lock(mutex_);
  pages_[path] = html;
}

void PageTest::openGate() {
  const std::lock_guard lock(mutex_);
  gateIsOpen_ = true;
  gateOpens_.notify_all();
}

void PageTest::respond(LoopbackConnection &connection, const std::string &head) {
  std::string path = lineOf(head);
  path = path.substr(path.find(' ') + 1);
  std::unique_lock lock(mutex_);
  if (path.starts_with("/gate/")) {
    gateOpens_.wait(lock, [this] { return gateIsOpen_; });
    path = path.substr(5);
  }
  const std::string start = "/redirect/";
  if (path.starts_with(start)) {
    connection.send(
        redirectTo(path.substr(start.size() + 3), path.substr(start.size(), 3) + " Moved"));
    return;
  }
  const auto page = pages_.find(path.substr(0, path.find('?')));
  connection.send(okResponse(page != pages_.end() ? page->second : "content of " + path,
                             "Content-Type: text/html\r\nCache-Control: no-store\r\n"));
}

}  // namespace orvel
