// The page of the tests' servers: one even colour, whatever the test wants on
// it, and a script that tells the server what happens to the page.

/// The colour that shows that the page has been painted; dark, as the blank
/// page before it, so that any light pixel on the way is a fault.
export const pageColour = [20, 60, 90];

/// A whole page around a piece of HTML. It tells where each element with an id
/// stands, those in frames of the same server too, so that it can be clicked. In
/// a frame it tells nothing by itself.
export function pageWith(content) {
  return `<!doctype html>
<html lang="nl"><meta charset="utf-8"><title>Proef</title>
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
  const report = (what, data = {}) =>
    fetch('/api/' + what, { method: 'POST', body: JSON.stringify(data) });
</script>
${content}
<script>
  const size = () => ({ width: innerWidth, height: innerHeight });
  const places = (page, left, top) => {
    const found = {};
    for (const element of page.querySelectorAll('[id], iframe')) {
      const { x, y, width, height } = element.getBoundingClientRect();
      if (element.id) found[element.id] = [left + x + width / 2, top + y + height / 2];
      const inside = element.contentDocument;
      if (inside) Object.assign(found, places(inside, left + x, top + y));
    }
    return found;
  };
  const runs = Number(localStorage.getItem('runs') ?? 0) + 1;
  localStorage.setItem('runs', runs);
  document.cookie = 'persistent=yes; path=/; max-age=86400';
  const field = document.getElementById('field');
  field?.addEventListener('input', () => report('field', { value: field.value }));
  field?.addEventListener('keyup', (event) => event.key === 'End' && report('endKey'));
  addEventListener('resize', () => report('size', size()));
  addEventListener('load', () => {
    if (window !== top) return;
    field?.focus();
    // Two frames on, the first one has reached the screen.
    requestAnimationFrame(() => requestAnimationFrame(() => report('painted', {
      runs, agent: navigator.userAgent, places: places(document, 0, 0), ...size(),
    })));
  });
</script>
</html>
`;
}

/// The page of tests that ask for nothing but a text field.
export const page = pageWith('<input id="field" autocomplete="off">');
