// Building and finding elements. Texts from the camera, from languages and from people are strangers:
// they are only ever set as text.

/** Makes an element. Properties that begin with "on" are listeners; "class", "aria-..." and "data-..."
 * are attributes; children are elements and texts, null for none. */
export function make(tag, properties = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (value === undefined || value === null) continue;
    if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
    else if (name === 'class') element.className = value;
    else if (name in element && !name.includes('-')) element[name] = value;
    else element.setAttribute(name, value);
  }
  element.append(...children.flat().filter(child => child !== null && child !== undefined));
  return element;
}

export const byId = id => document.getElementById(id);

/** Sets a text only when it is another one, so that screen readers do not say it again. */
export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

/** Replaces an element's children. */
export function fill(element, ...children) {
  element.replaceChildren(...children.flat().filter(child => child !== null && child !== undefined));
}

export function show(element, visible) {
  if (element.hidden === visible) element.hidden = !visible;
}
