import '@fontsource-variable/inter/wght.css';
import './page.css';
import './parts.css';

import { mount } from 'svelte';

import App from './App.svelte';
import { english } from './texts/english';
import { speechOf } from './texts/speech';

const language = navigator.languages.find((each) => /^en\b/.test(each)) ?? 'en';
const { timeZone } = Intl.DateTimeFormat().resolvedOptions();

mount(App, { target: document.body, props: { speech: speechOf(english, language, timeZone) } });
