// What all pages do: the choice of dark and light, and the copy that works without a network.

const key = "marl.theme";

function chosenTheme(): string | null {
  try {
    return localStorage.getItem(key);
  } catch {
    return null;
  }
}

export function setUpFrame() {
  const button = document.getElementById("theme") as HTMLButtonElement;
  const dark = () =>
    (document.documentElement.dataset.theme ??
      (matchMedia("(prefers-color-scheme: dark)").matches ? "dark" : "light")) === "dark";
  const chosen = chosenTheme();
  if (chosen) document.documentElement.dataset.theme = chosen;
  button.addEventListener("click", () => {
    const theme = dark() ? "light" : "dark";
    document.documentElement.dataset.theme = theme;
    try {
      localStorage.setItem(key, theme);
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
