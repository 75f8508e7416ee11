// What all pages do: the choice of dark and light, which the page's head has taken from the last one, and
// the copy that works without a network.

export function setUpFrame() {
  const button = document.getElementById("theme") as HTMLButtonElement;
  const dark = () =>
    (document.documentElement.dataset.theme ??
      (matchMedia("(prefers-color-scheme: dark)").matches ? "dark" : "light")) === "dark";
  button.addEventListener("click", () => {
    const theme = dark() ? "light" : "dark";
    document.documentElement.dataset.theme = theme;
    try {
      localStorage.setItem("marl.theme", theme);
    } catch {
      // Storage is forbidden: the choice holds for this page.
    }
  });
  if ("serviceWorker" in navigator && isSecureContext) {
    addEventListener("load", () => {
      // The first visit's own work comes first.
      setTimeout(() => void navigator.serviceWorker.register("offline.js").catch(() => {}), 1500);
    });
  }
}
