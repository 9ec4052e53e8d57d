// The page of the test servers: a uniform background, the test's content, and a script that
// reports to the server. A report is a POST of JSON to /api/NAME.

/// The background of a painted page. It is dark, like the empty web view before the first page, so
/// a light pixel during a load is a failure.
export const pageColour = [20, 60, 90];

export const link = (id, href, attributes = '') =>
  `<a id="${id}" href="${href}" ${attributes}>${id}</a>`;
export const button = (id, script) => `<button id="${id}" onclick="${script}">${id}</button>`;

/// Returns a page around a piece of HTML. A top-level page reports "painted" with its layout: its
/// size, and the middle of each element with an ID, including those in frames of the same origin.
/// The report also has the user agent, the cookies that scripts can read, and `loads`, the count of
/// loads in local storage.
export function pageWith(content) {
  return `<!doctype html>
<html lang="en"><meta charset="utf-8"><title>Test</title>
<style>
  html, body { margin: 0; height: 100%; overflow: hidden;
               background: rgb(${pageColour.join(', ')}); }
  a, button { display: block; width: 260px; height: 24px; margin: 8px; padding: 0;
              font: 15px sans-serif; color: #99a; background: #101820; border: 0; }
  iframe { position: fixed; left: 620px; top: 20px; width: 320px; height: 200px; border: 0; }
  #field { position: fixed; left: 40px; top: 40px; width: 420px; font: 18px sans-serif;
           border: 0; outline: 0; color: #778; background: #101820; caret-color: transparent; }
</style>
<script>
  const report = (name, data = {}) =>
    fetch('/api/' + name, { method: 'POST', body: JSON.stringify(data) });
</script>
${content}
<script>
  const size = () => ({ width: innerWidth, height: innerHeight });
  const positions = (page, left, top) => {
    const found = {};
    for (const element of page.querySelectorAll('[id], iframe')) {
      const { x, y, width, height } = element.getBoundingClientRect();
      if (element.id) found[element.id] = [left + x + width / 2, top + y + height / 2];
      const inside = element.contentDocument;
      if (inside) Object.assign(found, positions(inside, left + x, top + y));
    }
    return found;
  };
  const loads = Number(localStorage.getItem('loads') ?? 0) + 1;
  localStorage.setItem('loads', loads);
  // For tests of the cookies of downloads and of later starts.
  document.cookie = 'persistent=yes; path=/; max-age=86400';
  const field = document.getElementById('field');
  field?.addEventListener('input', () => report('field', { value: field.value }));
  // A test presses End as a barrier: the page handles keys in order.
  field?.addEventListener('keyup', (event) => event.key === 'End' && report('endKey'));
  addEventListener('resize', () => report('size', size()));
  addEventListener('load', () => {
    if (window !== top) return;
    field?.focus();
    // After two animation frames the first one is on the screen.
    requestAnimationFrame(() => requestAnimationFrame(() => report('painted', {
      loads, agent: navigator.userAgent, cookies: document.cookie.split('; '),
      positions: positions(document, 0, 0), ...size(),
    })));
  });
</script>
</html>
`;
}

/// The default page, whose content is a text field with the focus.
export const fieldPage = pageWith('<input id="field" autocomplete="off">');
