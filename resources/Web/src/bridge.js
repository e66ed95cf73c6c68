// The page's only way out: a DOM event that the native side's relay, living
// in an isolated script world, forwards over the web channel. Document
// content cannot reach the channel itself.

export function post(message) {
  document.dispatchEvent(new CustomEvent('lumo-post', { detail: JSON.stringify(message) }));
}
