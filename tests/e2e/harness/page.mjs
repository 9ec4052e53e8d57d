// The page of the tests' servers: one even colour, one text field, and a script
// that tells the server what happens to the page.

/// The colour that shows that the page has been painted; dark, as the blank
/// page before it, so that any light pixel on the way is a fault.
export const pageColour = [20, 60, 90];

export const page = `<!doctype html>
<html lang="nl"><meta charset="utf-8"><title>Proef</title>
<style>
  html, body { margin: 0; height: 100%; background: rgb(${pageColour.join(', ')}); }
  input { position: fixed; left: 40px; top: 40px; width: 420px; font: 18px sans-serif;
          border: 0; outline: 0; color: #778; background: #101820; caret-color: transparent; }
</style>
<input id="veld" autocomplete="off">
<script>
  const tell = (what, data) =>
    fetch('/api/' + what, { method: 'POST', body: JSON.stringify(data) });
  const size = () => ({ width: innerWidth, height: innerHeight });
  const runs = Number(localStorage.getItem('runs') ?? 0) + 1;
  localStorage.setItem('runs', runs);
  document.cookie = 'blijvend=ja; path=/; max-age=86400';
  const field = document.getElementById('veld');
  field.addEventListener('input', () => tell('veld', { value: field.value }));
  field.addEventListener('keyup', (event) => event.key === 'End' && tell('einde', {}));
  addEventListener('resize', () => tell('maat', size()));
  addEventListener('load', () => {
    field.focus();
    // Two frames on, the first one has reached the screen.
    requestAnimationFrame(() => requestAnimationFrame(() =>
      tell('getoond', { runs, agent: navigator.userAgent, ...size() })));
  });
</script>
</html>
`;
