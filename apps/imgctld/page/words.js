// The page's own words: a file for each language. What a language lacks is said in English.

let english = {};
let own = {};
let chosen = 0;

const files = { 0: 'en', 1: 'zh', 2: 'de' }; // by the number of the camera's languages

async function read(name) {
  const answer = await fetch(`/words/${name}.json`);
  return answer.ok ? answer.json() : {};
}

/** Chooses a language by the camera's number for it. */
export async function choose(language) {
  chosen = language;
  if (!Object.keys(english).length) english = await read('en');
  own = language !== 0 && files[language] ? await read(files[language]) : {};
  document.documentElement.lang = files[language] ?? 'en';
}

export const language = () => chosen;

/** Who did something, as a person would say it. @param origin with who and client */
export function person({ who, client }) {
  const address = /^open:(.*)$/.exec(client ?? '')?.[1]; // nobody logs in: the camera has no name for them
  if (address === undefined) return who || (client ?? '');
  return /^(127\.|::1$|\[::1\])/.test(address) ? word('someoneHere') : word('someoneAt', { address });
}

/** The language of what the camera itself says, for an element that shows it on a page in another one. */
export const camerasOwn = () => (chosen === 0 ? null : 'en');

/** Whether the chosen language has a text of its own for something that the camera says in English. */
export const knows = name => name in own;

/** A text by its name, with {names} in it replaced. */
export function word(name, values = {}) {
  const text = own[name] ?? english[name] ?? name;
  return text.replace(/\{(\w+)\}/g, (all, key) => (key in values ? String(values[key]) : all));
}
