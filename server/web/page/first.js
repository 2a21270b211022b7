// The code is behind the link's "#", which is never sent by itself.
const form = document.getElementById('first');
const outcome = document.getElementById('outcome');

form.addEventListener('submit', async (event) => {
  event.preventDefault();
  const fields = new FormData(form);
  outcome.textContent = 'One moment …';
  try {
    const answer = await fetch('/api/v1/first-administrator', {
      method: 'POST',
      headers: {'Content-Type': 'application/json'},
      body: JSON.stringify({
        code: location.hash.slice(1),
        id: fields.get('id'),
        name: fields.get('name'),
        password: fields.get('password'),
      }),
    });
    const told = await answer.json();
    outcome.textContent = answer.ok
      ? `Done: you are signed in as ${told.person.name}.`
      : told.detail;
    form.hidden = answer.ok;
  } catch {
    outcome.textContent = 'The server does not answer. Try again.';
  }
});
