// The login, over the page: tab, scroll and drafts stay below it.

import { onLoggedOut, post } from './api.js';
import { make, setText } from './dom.js';
import { connect, disconnect } from './link.js';
import { hidePicture } from './picture.js';
import { on, readSession, store } from './store.js';
import { word } from './words.js';

let dialog = null;

function open(text = '') {
  disconnect();
  hidePicture();
  if (dialog) return;
  const said = make('p', { class: 'note', role: 'alert' }, text);
  const name = make('input', { id: 'login-name', type: 'text', autocomplete: 'username', required: true, maxLength: 32 });
  const password = make('input', { id: 'login-password', type: 'password', autocomplete: 'current-password', required: true, maxLength: 128 });
  const button = make('button', { type: 'submit', class: 'primary' }, word('login'));
  dialog = make('dialog', { class: 'login', 'aria-labelledby': 'login-title', oncancel: event => event.preventDefault() },
    make('form', { onsubmit: async event => {
      event.preventDefault();
      button.disabled = true;
      setText(said, '');
      try {
        await post('/login', { name: name.value, password: password.value });
        dialog.close();
        dialog.remove();
        dialog = null;
        await connect();
      } catch (error) {
        said.className = 'note error';
        setText(said, error.message);
        password.select();
      }
      button.disabled = false;
    } },
    make('h1', { id: 'login-title' }, word('login')),
    make('label', { htmlFor: 'login-name' }, word('loginName')), name,
    make('label', { htmlFor: 'login-password' }, word('loginPassword')), password, said, button));
  document.body.append(dialog);
  dialog.showModal();
  name.focus();
}

onLoggedOut(() => readSession().catch(() => {}));
on('login', open);
on('session', () => {
  const { logged_in: there, ended } = store.session;
  if (!there) open(ended ? word(`ended_${ended}`) : '');
});
