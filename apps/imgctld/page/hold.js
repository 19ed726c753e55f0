// Buttons that move something for as long as they are held.

const pause = 150;

/** Makes a button repeat an action while it is held, each time after the answer to the time before, so
 * that nothing is under way any more soon after it is let go. Let go is also: the pointer is lost, the
 * window or the button loses the focus, the page is hidden. @param act returns false to end it */
export function repeatWhileHeld(button, act) {
  let held = null; // the present time of holding
  const begin = async () => {
    if (held || button.disabled) return;
    const mine = {};
    held = mine;
    button.classList.add('held');
    while (held === mine && await act()) await new Promise(done => { setTimeout(done, pause); });
    if (held === mine) end();
  };
  const end = () => {
    held = null;
    button.classList.remove('held');
  };
  button.addEventListener('pointerdown', event => {
    if (event.button !== 0) return;
    button.setPointerCapture(event.pointerId);
    begin();
  });
  button.addEventListener('keydown', event => {
    if (event.key !== ' ' && event.key !== 'Enter') return;
    event.preventDefault(); // or the browser would click as well
    if (!event.repeat) begin();
  });
  button.addEventListener('keyup', event => { if (event.key === ' ') event.preventDefault(); });
  // A press by a screen reader or by voice is a click without a pointer or a key: one step.
  button.addEventListener('click', event => { if (event.detail === 0 && !held) act(); });
  for (const kind of ['pointerup', 'pointercancel', 'lostpointercapture', 'keyup', 'blur']) button.addEventListener(kind, end);
  button.addEventListener('contextmenu', event => event.preventDefault());
  addEventListener('blur', end);
  document.addEventListener('visibilitychange', end);
}
